// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "core/Func.h"
#include "publish/ReleaseScan.h"

#include <QVector>

#include <vector>

/// Copies the \a files from \a releaseDir to the empty folder \a targetDir and makes their manifest
/// records on the way; every file is read once, on as many threads as there are cores, and survives
/// a loss of power once its folder is synced. Shows a progress bar on a terminal.
///
/// A file that is no regular one any more, or has another size, makes the copy fail.
///
/// \a records  gets one record for each file, in their order, on success only.
/// Returns why the copy failed, or empty text; after a failure \a targetDir holds rubbish.
QString CopyRelease(const QVector<ReleaseFile> &files, const QString &releaseDir,
                    const QString &targetDir, std::vector<tagDownloadFileInfo> &records);
