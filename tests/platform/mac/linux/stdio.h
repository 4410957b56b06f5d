// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include_next <stdio.h>

#define RENAME_SWAP 0x00000002

extern "C" int renamex_np(const char *from, const char *to, unsigned int flags);
