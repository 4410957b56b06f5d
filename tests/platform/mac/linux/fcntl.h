// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include_next <fcntl.h>

#define F_FULLFSYNC 51
