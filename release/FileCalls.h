// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>

#include <sys/stat.h>
#include <sys/types.h>

/// \file
/// What each system does in its own way with files. Free of Qt. A false or negative result leaves
/// the reason in errno. Callable on any thread.

/// Waits until what was written to an open file or folder will survive a loss of power: the disk
/// empties its own cache too.
bool SyncThroughDisk(int descriptor);

/// Writes all of a volume at once where the system can, which is far quicker than file by file.
///
/// \a descriptor  anything open on the volume.
/// True where the system has no such call. What failed before is only told by SyncInTree().
bool SyncVolume(int descriptor);

/// Waits until one open file or folder has been written, after SyncVolume(). The disk may keep it
/// in its own cache until SyncThroughDisk().
bool SyncInTree(int descriptor);

/// Has the system begin to write what is in an open file to the disk, where it can, and does not
/// wait.
void StartWriting(int descriptor);

/// Lists the names of the extended attributes of an entry, each ended by a NUL; a symbolic link is
/// not followed. Returns how many bytes that are; with a null \a names only that.
ssize_t ListAttributes(const char *path, char *names, std::size_t size);

/// The times of an inode.
timespec AccessTime(const struct stat &about);
timespec ModificationTime(const struct stat &about);
timespec ChangeTime(const struct stat &about);
