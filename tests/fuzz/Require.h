// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the program, which is how the fuzzer sees a finding, when \a holds is false; \a rule says
/// what was broken.
inline void Require(bool holds, const char *rule)
{
    if (!holds) {
        (void)std::fprintf(stderr, "broken: %s\n", rule);
        std::abort();
    }
}
