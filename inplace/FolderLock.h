// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"

#include <QDir>
#include <QLockFile>
#include <QString>

/// Keeps other updates away while it lives, with a lock file in a folder, which also proves that
/// the folder is writable.
///
/// A killed process holds no lock, whenever it was killed. The lock of an installation is in its
/// parent folder, because a run replaces the installation itself.
class FolderLock {
public:
    /// \a name  of the lock file in \a folder.
    FolderLock(const QDir &folder, const QString &name);
    ~FolderLock();
    Q_DISABLE_COPY(FolderLock)

    /// Returns why the lock cannot be taken, or no problem. Call it once.
    Problem take();

private:
    void removeRemnants();

    const QString m_folder;
    const QString m_path;
    QLockFile m_file;
};
