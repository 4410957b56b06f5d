// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/FreedMemory.h"

void ReturnFreedMemory() {}
