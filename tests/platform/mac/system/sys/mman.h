// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <stddef.h>

/// \file
/// As much of minherit(2) as the program uses. MADV_DONTFORK is missing on purpose.

extern "C" int minherit(void *address, size_t length, int inherit);
