// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#define F_FULLFSYNC 51

extern "C" int fcntl(int descriptor, int command, ...);
