// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "OrdinaryUser.h"

#include <cstdlib>

#include <unistd.h>

// Without capabilities only another user is an ordinary one; who is none already stays the same.
void BecomeOrdinaryUser()
{
    constexpr uid_t nobody = 65534;
    if (geteuid() == 0 && setuid(nobody) != 0) {
        std::abort();
    }
}
