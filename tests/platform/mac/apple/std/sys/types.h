// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <stddef.h>
#include <stdint.h>

typedef int32_t dev_t;
typedef uint64_t ino_t;
typedef uint16_t mode_t;
typedef int64_t off_t;
typedef long ssize_t;
