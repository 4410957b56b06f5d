// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>

#include <sys/stat.h>
#include <sys/types.h>

/// \file
/// Calls for files that differ between systems. Free of Qt. A false or negative result leaves the
/// reason in errno. Callable on any thread.

/// Waits until an open file or folder will survive a power loss: the disk empties its own cache
/// too.
bool SyncThroughDisk(int descriptor);

/// Opens a file of an open folder to read it. Follows no link, does not wait, and leaves the time
/// of the last access alone where the system allows that: a new one would have to be written to the
/// disk. Returns a descriptor of the caller's, or -1.
int OpenToRead(int folder, const char *name);

/// Whether SyncVolume() does something on this system.
extern const bool WritesVolumes;

/// Writes a whole volume at once if the system can, which is far faster than file by file.
///
/// \a descriptor  anything open on the volume.
/// True if the system has no such call. Earlier write errors are only reported by SyncInTree().
bool SyncVolume(int descriptor);

/// Waits until one open file or folder has been written, after SyncVolume(). The disk may keep it
/// in its own cache until SyncThroughDisk().
bool SyncInTree(int descriptor);

/// Asks the system, where possible, to begin writing an open file to the disk, and does not wait.
void StartWriting(int descriptor);

/// Lists the names of the extended attributes of a path, each ended by a NUL. Does not follow a
/// symbolic link. Returns their size in bytes; a null \a names asks only for that.
ssize_t ListAttributes(const char *path, char *names, std::size_t size);

/// The times of an inode.
timespec AccessTime(const struct stat &about);
timespec ModificationTime(const struct stat &about);
timespec ChangeTime(const struct stat &about);
