// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

/// \file
/// The calls of the preloaded library that neither change nor read files: on volumes, locks and
/// attributes, and the end of open files.

#include "tests/support/failing_calls.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/statvfs.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace failing_calls;

// The system's own declarations have attributes and exceptions that differ from one to the other.
#pragma GCC diagnostic ignored "-Wmissing-attributes"

extern "C" {

int statvfs(const char *path, struct statvfs *about) noexcept
{
    return Fails("stat", PathOf(AT_FDCWD, path), false) ? -1
                                                        : Next(&::statvfs, "statvfs")(path, about);
}

ssize_t llistxattr(const char *path, char *names, size_t size) noexcept
{
    return Fails("stat", PathOf(AT_FDCWD, path), false)
               ? -1
               : Next(&::llistxattr, "llistxattr")(path, names, size);
}

int flock(int descriptor, int operation) noexcept
{
    return Fails("lock", PathOf(descriptor), false)
               ? -1
               : Next(&::flock, "flock")(descriptor, operation);
}

int close(int descriptor)
{
    const bool fails = Fails("close", PathOf(descriptor), false);
    const int error = errno;
    const int result = Next(&::close, "close")(descriptor);
    errno = fails ? error : errno;
    return fails ? -1 : result;
}

} // extern "C"
