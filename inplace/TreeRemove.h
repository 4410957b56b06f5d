// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// Removes whatever stands at \a path, a folder with everything in it. Links are removed, never
/// followed, and what a folder's mode forbids is done nevertheless where the owner may.
///
/// Returns whether nothing is there any more; otherwise the reason is in errno. Callable on any
/// thread.
bool RemoveTree(const QByteArray &path);
