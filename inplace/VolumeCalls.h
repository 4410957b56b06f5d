// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// \file
/// What each system does in its own way with folders and volumes. Free of Qt. A false result leaves
/// the reason in errno. Callable on any thread.

/// Exchanges two names at one instant: whoever looks sees both before or both after.
bool ExchangeNames(const char *one, const char *other);

/// Returns whether the last ExchangeNames() failed because this volume or system knows no exchange.
bool IsExchangeUnknown(int error);

/// Gives the open empty file \a to the content of \a from in the way of the system: on Linux both
/// share it until one of them is written to, on macOS the system copies.
///
/// False where there is no such way, and after a failure. Then both files stand at their beginning,
/// and \a to is empty.
bool CloneContent(int from, int to);

/// Returns whether a volume, or a part of one, is mounted at exactly this folder. A symbolic link
/// is none.
bool IsMountPoint(const char *folder);
