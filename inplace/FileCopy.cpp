// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/FileCopy.h"

#include "inplace/VolumeCalls.h"
#include "release/Descriptor.h"
#include "release/FileCalls.h"
#include "release/SystemCalls.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t WhileCopying = 0600;
constexpr auto PartName = "inplace_update#part"; // no release can contain it
constexpr std::size_t BlockSize = 0x40000;

bool CopyContent(int from, int to)
{
    if (CloneContent(from, to)) {
        return true;
    }
    static thread_local std::array<char, BlockSize> block;
    for (;;) {
        const ssize_t length = ::read(from, block.data(), block.size());
        if (length == 0) {
            return true;
        }
        if (length < 0 && errno == EINTR) {
            continue;
        }
        if (length < 0 || !WriteAll(to, block.data(), static_cast<std::size_t>(length))) {
            return false;
        }
    }
}

bool CopyFile(int fromFolder, const char *name, int toFolder, const char *newName, bool withMode)
{
    const Descriptor from(
        ::openat(fromFolder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    Descriptor to(from.isOpen() ? ::openat(toFolder, newName,
                                           O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, WhileCopying)
                                : -1);
    struct stat about {};
    if (!to.isOpen() || ::fstat(from.number(), &about) != 0 ||
        !CopyContent(from.number(), to.number())) {
        return false;
    }
    const std::array<timespec, 2> times{AccessTime(about), ModificationTime(about)};
    (void)::futimens(to.number(), times.data()); // the time is not part of a release
    if (withMode && ::fchmod(to.number(), about.st_mode & 0777U) != 0) {
        return false;
    }
    return to.close();
}

} // namespace

bool PutEntry(int from, int to, const char *name)
{
    if (::linkat(from, name, to, name, 0) == 0) {
        return true;
    }
    const int error = errno;
    struct stat about {};
    if (error == EEXIST || error == ENOENT ||
        ::fstatat(from, name, &about, AT_SYMLINK_NOFOLLOW) != 0) {
        errno = error;
        return false;
    }
    if (S_ISREG(about.st_mode)) {
        return CopyFile(from, name, to, name, true);
    }
    errno = error;
    return false;
}

bool IsUpToDate(const QByteArray &put, const QByteArray &original)
{
    struct stat here {};
    struct stat there {};
    if (::lstat(put.constData(), &here) != 0 || ::lstat(original.constData(), &there) != 0) {
        return false;
    }
    const timespec copied = ModificationTime(here);
    const timespec now = ModificationTime(there);
    return (here.st_dev == there.st_dev && here.st_ino == there.st_ino) ||
           (here.st_size == there.st_size && copied.tv_sec == now.tv_sec &&
            copied.tv_nsec == now.tv_nsec);
}

bool CopyInPlace(int folder, const char *name)
{
    (void)::unlinkat(folder, PartName, 0); // left by an interrupted run; usually there is none
    return CopyFile(folder, name, folder, PartName, false) &&
           ::renameat(folder, PartName, folder, name) == 0;
}
