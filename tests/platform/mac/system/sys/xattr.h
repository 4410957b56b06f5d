// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

/// \file
/// As much of listxattr(2) as the program uses, with its names and values.

#define XATTR_NOFOLLOW 0x0001

extern "C" ssize_t listxattr(const char *path, char *names, size_t size, int options);
