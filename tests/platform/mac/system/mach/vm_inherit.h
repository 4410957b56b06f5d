// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// \file
/// As much of minherit(2) as the program uses, with its names and values.

typedef unsigned int vm_inherit_t;

#define VM_INHERIT_NONE ((vm_inherit_t)2)
