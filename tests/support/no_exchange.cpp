// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

/// \file
/// A library to preload. It makes the exchange of two names fail, as on a file system without it.

#include <cerrno>

extern "C" __attribute__((visibility("default"))) int renameat2(int, const char *, int,
                                                                const char *, unsigned)
{
    errno = EINVAL;
    return -1;
}
