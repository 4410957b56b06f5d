// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/FileDigests.h"
#include "release/ReleaseManifest.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

/// Returns what is wrong with one file, or empty text.
using FileReason = std::function<QString(const ManifestFile &)>;

/// Checks each of the \a files, on \a threads threads, with a progress bar on a terminal. Returns
/// sentences in the order of their paths.
///
/// \a onThread  called once on each thread; returns the check that this thread uses.
QStringList CheckFiles(const std::vector<ManifestFile> &files, int threads,
                       const std::function<FileReason()> &onThread);

/// Returns how a content with these \a digests differs from the listed \a file, or empty text.
/// Callable on any thread.
QString OtherContentReason(const ManifestFile &file, const FileDigests &digests);
