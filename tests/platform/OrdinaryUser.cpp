// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "OrdinaryUser.h"

#include <array>
#include <cstdlib>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

void BecomeOrdinaryUser()
{
    __user_cap_header_struct header{};
    header.version = _LINUX_CAPABILITY_VERSION_3;
    const std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> none{};
    if (syscall(SYS_capset, &header, none.data()) != 0) {
        std::abort();
    }
}
