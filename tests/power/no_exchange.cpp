// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

/// \file
/// Preloaded into a program, it takes away what not every file system has: the exchange of two
/// names.

#include <cerrno>

extern "C" __attribute__((visibility("default"))) int renameat2(int, const char *, int,
                                                                const char *, unsigned)
{
    errno = EINVAL;
    return -1;
}
