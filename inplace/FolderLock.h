// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDir>
#include <QLockFile>
#include <QString>

/// Keeps other updates away from a folder while it lives, and shows that the folder can be written.
///
/// A process that was killed holds nothing, at whatever moment it was killed.
class FolderLock {
public:
    explicit FolderLock(const QDir &folder);
    ~FolderLock();
    Q_DISABLE_COPY(FolderLock)

    /// Returns why the folder cannot be had, or empty text. To be called once.
    QString take();

private:
    void removeRemnants();

    const QString m_folder;
    const QString m_path;
    QLockFile m_file;
    int m_handle = -1;
};
