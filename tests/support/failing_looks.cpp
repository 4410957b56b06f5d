// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

/// \file
/// The calls of the preloaded library that only look at files and folders.

#include "tests/support/failing_calls.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace failing_calls;

namespace {

bool FailsToLook(int folder, const char *path)
{
    return Fails("stat", PathOf(folder, path), false);
}

bool FailsToList(const std::string &path)
{
    return Fails("list", path, false);
}

} // namespace

// The system's own declarations have attributes and exceptions that differ from one to the other.
#pragma GCC diagnostic ignored "-Wmissing-attributes"

extern "C" {

int stat(const char *path, struct stat *about) noexcept
{
    return FailsToLook(AT_FDCWD, path) ? -1 : Next(&::stat, "stat")(path, about);
}

int stat64(const char *path, struct stat64 *about) noexcept
{
    return FailsToLook(AT_FDCWD, path) ? -1 : Next(&::stat64, "stat64")(path, about);
}

int lstat(const char *path, struct stat *about) noexcept
{
    return FailsToLook(AT_FDCWD, path) ? -1 : Next(&::lstat, "lstat")(path, about);
}

int lstat64(const char *path, struct stat64 *about) noexcept
{
    return FailsToLook(AT_FDCWD, path) ? -1 : Next(&::lstat64, "lstat64")(path, about);
}

int fstat(int descriptor, struct stat *about) noexcept
{
    return Fails("stat", PathOf(descriptor), false) ? -1
                                                    : Next(&::fstat, "fstat")(descriptor, about);
}

int fstat64(int descriptor, struct stat64 *about) noexcept
{
    return Fails("stat", PathOf(descriptor), false)
               ? -1
               : Next(&::fstat64, "fstat64")(descriptor, about);
}

int fstatat(int folder, const char *path, struct stat *about, int flags) noexcept
{
    return FailsToLook(folder, path) ? -1 : Next(&::fstatat, "fstatat")(folder, path, about, flags);
}

int fstatat64(int folder, const char *path, struct stat64 *about, int flags) noexcept
{
    return FailsToLook(folder, path) ? -1
                                     : Next(&::fstatat64, "fstatat64")(folder, path, about, flags);
}

int statx(int folder, const char *path, int flags, unsigned mask, struct statx *about) noexcept
{
    return FailsToLook(folder, path) ? -1
                                     : Next(&::statx, "statx")(folder, path, flags, mask, about);
}

int access(const char *path, int mode) noexcept
{
    return FailsToLook(AT_FDCWD, path) ? -1 : Next(&::access, "access")(path, mode);
}

int faccessat(int folder, const char *path, int mode, int flags) noexcept
{
    return FailsToLook(folder, path) ? -1
                                     : Next(&::faccessat, "faccessat")(folder, path, mode, flags);
}

ssize_t readlink(const char *path, char *target, size_t size) noexcept
{
    return FailsToLook(AT_FDCWD, path) ? -1 : Next(&::readlink, "readlink")(path, target, size);
}

ssize_t readlinkat(int folder, const char *path, char *target, size_t size) noexcept
{
    return FailsToLook(folder, path)
               ? -1
               : Next(&::readlinkat, "readlinkat")(folder, path, target, size);
}

DIR *opendir(const char *path)
{
    return FailsToList(PathOf(AT_FDCWD, path)) ? nullptr : Next(&::opendir, "opendir")(path);
}

DIR *fdopendir(int descriptor)
{
    return FailsToList(PathOf(descriptor)) ? nullptr : Next(&::fdopendir, "fdopendir")(descriptor);
}

struct dirent *readdir(DIR *folder)
{
    return FailsToList(PathOf(::dirfd(folder))) ? nullptr : Next(&::readdir, "readdir")(folder);
}

struct dirent64 *readdir64(DIR *folder)
{
    return FailsToList(PathOf(::dirfd(folder))) ? nullptr : Next(&::readdir64, "readdir64")(folder);
}

} // extern "C"
