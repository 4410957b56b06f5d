// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// Removes whatever is at \a path, a folder with everything in it. Links are removed, never
/// followed. A folder's mode is no obstacle if its owner may change it.
///
/// Returns whether nothing is left there; otherwise the reason is in errno. Callable on any thread.
bool RemoveTree(const QByteArray &path);
