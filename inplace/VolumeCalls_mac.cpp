// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/VolumeCalls.h"

#include <cerrno>
#include <cstdio>

#include <copyfile.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

bool ExchangeNames(const char *one, const char *other)
{
    return ::renamex_np(one, other, RENAME_SWAP) == 0;
}

bool IsExchangeUnknown(int error)
{
    return error == ENOTSUP || error == EINVAL;
}

bool CloneContent(int from, int to)
{
    if (::fcopyfile(from, to, nullptr, COPYFILE_DATA) == 0) {
        return true;
    }
    // It may have stopped half-way.
    (void)::lseek(from, 0, SEEK_SET);
    (void)::lseek(to, 0, SEEK_SET);
    (void)::ftruncate(to, 0);
    return false;
}

bool IsMountPoint(const char *folder)
{
    struct stat here {};
    struct stat root {};
    struct statfs volume {};
    // The inodes are compared: the volume may be known by another path to the same place.
    return ::lstat(folder, &here) == 0 && ::statfs(folder, &volume) == 0 &&
           ::lstat(volume.f_mntonname, &root) == 0 && here.st_dev == root.st_dev &&
           here.st_ino == root.st_ino;
}
