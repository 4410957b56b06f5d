// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

#define SEEK_SET 0

extern "C" {
int fsync(int descriptor);
int ftruncate(int descriptor, off_t size);
char *getcwd(char *buffer, size_t size);
off_t lseek(int descriptor, off_t offset, int from);
}
