// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "MacCalls.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include <copyfile.h>
#include <fcntl.h>
#include <mach/vm_inherit.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr int DontFork = 10; // of madvise()

int Fail(int error)
{
    errno = error;
    return -1;
}

bool IsBelow(const std::string &path, const std::string &folder)
{
    return folder == "/" || path == folder || path.rfind(folder + '/', 0) == 0;
}

/// Returns the most recent mount point that contains the path.
std::string MountPointOf(const std::string &path)
{
    std::ifstream mounts("/proc/self/mountinfo");
    std::string found;
    for (std::string line; std::getline(mounts, line);) {
        std::istringstream fields(line);
        std::string id;
        std::string parent;
        std::string device;
        std::string root;
        std::string point;
        fields >> id >> parent >> device >> root >> point;
        if (IsBelow(path, point) && point.size() >= found.size()) {
            found = point;
        }
    }
    return found;
}

} // namespace

MacCalls &MacCalls::it()
{
    static MacCalls calls;
    return calls;
}

int renamex_np(const char *from, const char *to, unsigned int flags)
{
    if (flags != RENAME_SWAP) {
        return Fail(EINVAL);
    }
    if (MacCalls::it().exchangeError != 0) {
        return Fail(MacCalls::it().exchangeError);
    }
    return ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_EXCHANGE);
}

int fcopyfile(int from, int to, copyfile_state_t state, copyfile_flags_t flags)
{
    if (state || flags != COPYFILE_DATA) {
        return Fail(EINVAL);
    }
    std::array<char, 4096> block{};
    const int error = MacCalls::it().copyError;
    for (;;) {
        const ssize_t length = ::read(from, block.data(), error != 0 ? 3 : block.size());
        if (length <= 0) {
            return static_cast<int>(length);
        }
        if (::write(to, block.data(), static_cast<std::size_t>(length)) != length) {
            return -1;
        }
        if (error != 0) {
            return Fail(error);
        }
    }
}

int statfs(const char *path, struct statfs *about)
{
    std::array<char, PATH_MAX> real{};
    if (!::realpath(path, real.data())) {
        return -1;
    }
    const std::string point = MacCalls::it().volumePrefix + MountPointOf(real.data());
    (void)::strncpy(about->f_mntonname, point.c_str(), sizeof about->f_mntonname - 1);
    return 0;
}

ssize_t listxattr(const char *path, char *names, size_t size, int options)
{
    const long call = options == XATTR_NOFOLLOW ? SYS_llistxattr : SYS_listxattr;
    return ::syscall(call, path, names, size);
}

int minherit(void *address, size_t length, int inherit)
{
    if (inherit != VM_INHERIT_NONE) {
        return Fail(EINVAL);
    }
    return static_cast<int>(::syscall(SYS_madvise, address, length, DontFork));
}

extern "C" int fcntl(int descriptor, int command, ...)
{
    if (command != F_FULLFSYNC) {
        return Fail(EINVAL);
    }
    if (MacCalls::it().fullSyncError != 0) {
        return Fail(MacCalls::it().fullSyncError);
    }
    if (::fsync(descriptor) != 0) {
        return -1;
    }
    ++MacCalls::it().fullSyncs;
    return 0;
}
