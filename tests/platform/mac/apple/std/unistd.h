// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <stddef.h>

extern "C" char *getcwd(char *buffer, size_t size);
