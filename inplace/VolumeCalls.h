// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// \file
/// Calls for folders and volumes that differ between systems. Free of Qt. A false result leaves the
/// reason in errno. Callable on any thread.

/// Exchanges two names atomically: everybody sees both before or both after.
bool ExchangeNames(const char *one, const char *other);

/// Returns whether \a error of a failed ExchangeNames() means that this volume or system has no
/// exchange.
bool IsExchangeUnknown(int error);

/// Fills the open empty file \a to with the content of \a from in the system's own way: on Linux
/// they share it until one of them is written to, on macOS the system copies it.
///
/// False if the volume cannot do that, or if it failed. Then both files are at their beginning, and
/// \a to is empty.
bool CloneContent(int from, int to);

/// Returns whether a volume, or a part of one, is mounted at exactly this folder. A symbolic link
/// is not one.
bool IsMountPoint(const char *folder);
