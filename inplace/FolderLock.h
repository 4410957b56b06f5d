// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"

#include <QDir>
#include <QLockFile>
#include <QString>

/// Keeps other updates away from something while it lives, by a lock file in a folder, and shows
/// that the folder can be written.
///
/// A process that was killed holds nothing, at whatever moment it was killed. The lock of an
/// installation lies in the folder around it: the installation itself changes under a run's feet.
class FolderLock {
public:
    /// \a name  of the lock file in \a folder.
    FolderLock(const QDir &folder, const QString &name);
    ~FolderLock();
    Q_DISABLE_COPY(FolderLock)

    /// Returns why it cannot be had, or no problem. To be called once.
    Problem take();

private:
    void removeRemnants();

    const QString m_folder;
    const QString m_path;
    QLockFile m_file;
};
