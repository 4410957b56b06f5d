// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <stdint.h>

/// \file
/// As much of copyfile(3) as the program uses, with its names and values.

typedef struct _copyfile_state *copyfile_state_t;
typedef uint32_t copyfile_flags_t;

#define COPYFILE_DATA (1 << 3)

extern "C" int fcopyfile(int from, int to, copyfile_state_t state, copyfile_flags_t flags);
