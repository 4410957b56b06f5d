// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/FileCalls.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

bool SyncThroughDisk(int descriptor)
{
    return ::fsync(descriptor) == 0;
}

int OpenToRead(int folder, const char *name)
{
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const int file = ::openat(folder, name, flags | O_NOATIME);
    return file < 0 && errno == EPERM ? ::openat(folder, name, flags) : file; // somebody else's
}

const bool WritesVolumes = true;

bool SyncVolume(int descriptor)
{
    return ::syncfs(descriptor) == 0;
}

bool SyncInTree(int descriptor)
{
    // The whole volume has been written by now, and the only question left is whether writing this
    // entry failed. fsync() would make the disk empty its cache for every entry.
    if (::sync_file_range(descriptor, 0, 0, SYNC_FILE_RANGE_WAIT_BEFORE) == 0) {
        return true;
    }
    return (errno == ENOSYS || errno == ESPIPE) && ::fsync(descriptor) == 0;
}

void StartWriting(int descriptor)
{
    (void)::sync_file_range(descriptor, 0, 0, SYNC_FILE_RANGE_WRITE);
}

ssize_t ListAttributes(const char *path, char *names, std::size_t size)
{
    return ::llistxattr(path, names, size);
}

timespec AccessTime(const struct stat &about)
{
    return about.st_atim;
}

timespec ModificationTime(const struct stat &about)
{
    return about.st_mtim;
}

timespec ChangeTime(const struct stat &about)
{
    return about.st_ctim;
}
