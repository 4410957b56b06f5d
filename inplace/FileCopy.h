// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// \file
/// Puts files and links into a second tree too. Folders are open handles, names single components.
/// A false result leaves the reason in errno. Callable on any thread.

/// Puts the regular file, link or special file \a name of the folder \a from into the folder \a to
/// under the same name, where there must be none: as a hard link, or as a copy where the volume or
/// the system refuses that.
bool PutEntry(int from, int to, const char *name);

/// Replaces the regular file \a name by a copy of itself, so that it no longer shares its content
/// with any other name. The copy has the time of the original and a mode for its owner alone.
bool CopyInPlace(int folder, const char *name);
