// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/FileDigests.h"
#include "release/ReleaseManifest.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

/// Says what is wrong with one file, or nothing.
using FileReason = std::function<QString(const ManifestFile &)>;

/// Finds out what is wrong with each of the \a files, on \a threads threads, with a progress bar on
/// a terminal. Returns sentences in the order of their paths.
///
/// \a onThread  called once on each thread, for what that thread asks.
QStringList CheckFiles(const std::vector<ManifestFile> &files, int threads,
                       const std::function<FileReason()> &onThread);

/// Returns how a content with these \a digests differs from the listed \a file, or empty text.
/// Callable on any thread.
QString OtherContentReason(const ManifestFile &file, const FileDigests &digests);
