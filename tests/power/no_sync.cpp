// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

/// \file
/// A library to preload. It makes syncs succeed without doing anything. KEPT_SYNCS, set at compile
/// time, says which still work: 0 none, 1 those of folders, 2 those of files.

#include <cstddef>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

bool IsKept(int descriptor)
{
    struct stat about {};
    return KEPT_SYNCS != 0 && ::fstat(descriptor, &about) == 0 &&
           (KEPT_SYNCS == 1) == S_ISDIR(about.st_mode);
}

int SyncIfKept(int descriptor)
{
    return IsKept(descriptor) ? static_cast<int>(::syscall(SYS_fsync, descriptor)) : 0;
}

} // namespace

extern "C" {

__attribute__((visibility("default"))) int fsync(int descriptor)
{
    return SyncIfKept(descriptor);
}

__attribute__((visibility("default"))) int fdatasync(int descriptor)
{
    return SyncIfKept(descriptor);
}

__attribute__((visibility("default"))) int syncfs(int)
{
    return 0;
}

__attribute__((visibility("default"))) void sync() {}

__attribute__((visibility("default"))) int msync(void *, std::size_t, int)
{
    return 0;
}

__attribute__((visibility("default"))) int sync_file_range(int, off64_t, off64_t, unsigned)
{
    return 0;
}

} // extern "C"
