// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// \file
/// What each system does in its own way with folders and volumes. Paths are bytes as the system
/// takes them. A false result leaves the reason in errno. Callable on any thread.

/// Exchanges two names at one instant: whoever looks sees both before or both after.
bool ExchangeNames(const QByteArray &one, const QByteArray &other);

/// Returns whether the last ExchangeNames() failed because this volume or system knows no exchange.
bool IsExchangeUnknown(int error);

/// Makes the open empty file \a to share the content of \a from until one of them is written to.
/// False where the volume knows no such thing.
bool CloneContent(int from, int to);

/// Returns whether a volume, or a part of one, is mounted at exactly this folder.
bool IsMountPoint(const QByteArray &folder);
