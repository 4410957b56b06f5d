// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// \file
/// Adds files to a second tree. Folders are open handles, names single components.
/// A false result leaves the reason in errno. Callable on any thread.

/// Puts the file \a name of the folder \a from into the folder \a to under the same name, which
/// must be free: as a hard link, or, if the volume or the system refuses that and it is a regular
/// file, as a copy.
bool PutEntry(int from, int to, const char *name);

/// Whether the regular file \a put, made by PutEntry() from \a original, still has its content: it
/// is the same file, or a copy of the same size and time.
bool IsUpToDate(const QByteArray &put, const QByteArray &original);

/// Replaces the regular file \a name by a copy of itself, so that it no longer shares its content
/// with any other name. The copy has the original's times and a mode for its owner only.
bool CopyInPlace(int folder, const char *name);
