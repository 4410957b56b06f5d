// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// \file
/// Calls for folders and volumes that differ between systems. Paths are bytes as the system takes
/// them. A false result leaves the reason in errno. Callable on any thread.

/// Exchanges two names atomically: everybody sees both before or both after.
bool ExchangeNames(const QByteArray &one, const QByteArray &other);

/// Returns whether \a error of a failed ExchangeNames() means that this volume or system has no
/// exchange.
bool IsExchangeUnknown(int error);

/// Makes the open empty file \a to share the content of \a from until one of them is written to.
/// False if the volume cannot do that.
bool CloneContent(int from, int to);

/// Returns whether a volume, or a part of one, is mounted at exactly this folder.
bool IsMountPoint(const QByteArray &folder);
