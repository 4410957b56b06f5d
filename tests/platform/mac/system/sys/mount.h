// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// \file
/// As much of statfs(2) as the program uses.

struct statfs {
    char f_mntonname[1024];
};

extern "C" int statfs(const char *path, struct statfs *about);
