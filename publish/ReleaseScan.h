// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ReleaseManifest.h"

#include <QString>
#include <QStringList>
#include <QVector>

#include <vector>

/// One regular file in the release folder.
struct ReleaseFile {
    QString path; ///< relative to the release folder, '/' between components
    qint64 size = 0;
    int mode = 0;       ///< permission bits
    qint64 changed = 0; ///< when its content last changed, in nanoseconds
};

/// The contents of a release folder.
struct ReleaseContents {
    QVector<ReleaseFile> files;          ///< in ascending order of their paths
    std::vector<ManifestLink> links;     ///< symbolic links; in ascending order of their paths
    std::vector<ManifestFolder> folders; ///< empty ones, and those whose mode is not 0755
    QStringList problems;                ///< one text for everything that must not be published
};

/// Scans \a folder, hidden files included, without following symbolic links. Everything that must
/// not be published, or cannot be read, becomes a problem.
ReleaseContents ScanRelease(const QString &folder);

/// Whether both have the same files, links and folders with the same modes, and no file was written
/// to between the scans.
bool IsUnchanged(const ReleaseContents &before, const ReleaseContents &after);
