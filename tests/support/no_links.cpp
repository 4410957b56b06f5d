// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

/// \file
/// A library to preload. It makes hard links fail, as on a file system without them.

#include <cerrno>

extern "C" __attribute__((visibility("default"))) int linkat(int, const char *, int, const char *,
                                                             int)
{
    errno = EPERM;
    return -1;
}
