// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/FileCalls.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

bool SyncThroughDisk(int descriptor)
{
    // fsync() does not empty the disk's cache. Not every volume supports the other call.
    return ::fcntl(descriptor, F_FULLFSYNC) == 0 || ::fsync(descriptor) == 0;
}

int OpenToRead(int folder, const char *name)
{
    return ::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
}

const bool WritesVolumes = false;

bool SyncVolume(int)
{
    return true;
}

bool SyncInTree(int descriptor)
{
    return ::fsync(descriptor) == 0;
}

void StartWriting(int) {}

ssize_t ListAttributes(const char *path, char *names, std::size_t size)
{
    return ::listxattr(path, names, size, XATTR_NOFOLLOW);
}

timespec AccessTime(const struct stat &about)
{
    return about.st_atimespec;
}

timespec ModificationTime(const struct stat &about)
{
    return about.st_mtimespec;
}

timespec ChangeTime(const struct stat &about)
{
    return about.st_ctimespec;
}
