// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/FreedMemory.h"

#include <malloc.h>

void ReturnFreedMemory()
{
    (void)mallopt(M_MMAP_THRESHOLD, 128 << 10); // the default, but no longer adapted
}
