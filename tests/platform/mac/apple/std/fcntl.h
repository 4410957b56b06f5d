// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#define O_RDONLY 0
#define O_NONBLOCK 0x4
#define O_NOFOLLOW 0x100
#define O_CLOEXEC 0x1000000
#define F_FULLFSYNC 51

extern "C" int openat(int folder, const char *path, int flags, ...);
extern "C" int fcntl(int descriptor, int command, ...);
