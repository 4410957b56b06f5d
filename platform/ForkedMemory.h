// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>

/// Keeps shared memory out of processes that this one forks, as far as the system can.
///
/// A child that is about to become another program, or fails to, is attached to its parent's
/// segments until then, and may outlive the parent.
///
/// \a memory  begins at a page; null does nothing.
/// Callable on any thread.
void KeepFromChildren(void *memory, std::size_t bytes);
