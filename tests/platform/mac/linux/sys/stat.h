// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include_next <sys/stat.h>

#define st_atimespec st_atim
#define st_mtimespec st_mtim
#define st_ctimespec st_ctim
