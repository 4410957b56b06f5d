// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the program if \a holds is false, which the fuzzer counts as a finding; \a rule names the
/// broken rule.
inline void Require(bool holds, const char *rule)
{
    if (!holds) {
        (void)std::fprintf(stderr, "broken: %s\n", rule);
        std::abort();
    }
}
