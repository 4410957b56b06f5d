// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/VolumeCalls.h"

#include <cerrno>
#include <copyfile.h>
#include <cstdio>
#include <cstring>
#include <sys/mount.h>

bool ExchangeNames(const QByteArray &one, const QByteArray &other)
{
    return ::renamex_np(one.constData(), other.constData(), RENAME_SWAP) == 0;
}

bool IsExchangeUnknown(int error)
{
    return error == ENOTSUP || error == EINVAL;
}

bool CloneContent(int from, int to)
{
    return ::fcopyfile(from, to, nullptr, COPYFILE_DATA) == 0;
}

bool IsMountPoint(const QByteArray &folder)
{
    struct statfs about {};
    return ::statfs(folder.constData(), &about) == 0 &&
           std::strcmp(about.f_mntonname, folder.constData()) == 0;
}
