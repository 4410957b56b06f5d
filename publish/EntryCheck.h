// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <filesystem>
#include <sys/stat.h>

/// \file
/// Checks on a single entry of a release folder. Callable on any thread.

/// When the content of a file last changed, in nanoseconds.
qint64 LastChange(const struct stat &status);

/// Returns why a file or folder with the \a mode from lstat() must not be published, or empty text.
QString ModeReason(mode_t mode);

/// Returns why the file at \a path must not be published because of its extended attributes, or
/// empty text. Does not follow a symbolic link.
QString AttributeReason(const std::filesystem::path &path);
