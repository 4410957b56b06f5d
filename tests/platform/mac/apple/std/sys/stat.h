// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/types.h>

struct timespec {
    long tv_sec;
    long tv_nsec;
};

struct stat {
    dev_t st_dev;
    ino_t st_ino;
    mode_t st_mode;
    struct timespec st_atimespec;
    struct timespec st_mtimespec;
    struct timespec st_ctimespec;
    off_t st_size;
};

#define S_ISREG(mode) (((mode)&0170000) == 0100000)

extern "C" {
int lstat(const char *path, struct stat *about);
int stat(const char *path, struct stat *about);
}
