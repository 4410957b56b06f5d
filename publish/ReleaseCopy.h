// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/ReleaseScan.h"
#include "release/ReleaseManifest.h"

#include <QVector>

#include <vector>

/// \file
/// Reads the files of a release, each once, on as many threads as there are cores, with a progress
/// bar on a terminal. Fails if a file is no longer regular, or if its size changed or it was
/// written to since it was found.
///
/// \a records  receives one record for each file, in their order, on success only.
/// Both return why they failed, or empty text.

/// Copies the \a files from \a releaseDir to the empty folder \a targetDir and makes their manifest
/// records on the way. The copies survive a power loss once their folders are synced. After a
/// failure the contents of \a targetDir are undefined.
QString CopyRelease(const QVector<ReleaseFile> &files, const QString &releaseDir,
                    const QString &targetDir, std::vector<ManifestFile> &records);

/// Makes the manifest records of the \a files and writes nothing.
QString ReadRelease(const QVector<ReleaseFile> &files, const QString &releaseDir,
                    std::vector<ManifestFile> &records);
