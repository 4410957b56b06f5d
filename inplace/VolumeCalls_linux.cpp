// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/VolumeCalls.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

bool ExchangeNames(const char *one, const char *other)
{
    return ::renameat2(AT_FDCWD, one, AT_FDCWD, other, RENAME_EXCHANGE) == 0;
}

bool IsExchangeUnknown(int error)
{
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

bool CloneContent(int from, int to)
{
    return ::ioctl(to, FICLONE, from) == 0;
}

bool IsMountPoint(const char *folder)
{
    struct statx about {};
    if (::statx(AT_FDCWD, folder, AT_SYMLINK_NOFOLLOW, STATX_INO, &about) != 0) {
        return false;
    }
    return (about.stx_attributes_mask & about.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}
