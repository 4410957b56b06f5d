// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/ForkedMemory.h"

#include <sys/mman.h>
#ifndef MADV_DONTFORK
#include <mach/vm_inherit.h>
#endif

void KeepFromChildren(void *memory, std::size_t bytes)
{
    if (!memory) {
        return;
    }
    // Where this fails, children inherit the memory as they would have anyway.
#ifdef MADV_DONTFORK
    (void)::madvise(memory, bytes, MADV_DONTFORK);
#else
    (void)::minherit(memory, bytes, VM_INHERIT_NONE);
#endif
}
