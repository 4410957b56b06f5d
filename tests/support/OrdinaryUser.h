// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <unistd.h>

/// Makes the process an ordinary user while it lives, if root runs it: permissions count again.
class OrdinaryUser {
public:
    OrdinaryUser()
    {
        if (m_root && ::seteuid(Nobody) != 0) {
            qFatal("The test cannot stop being root.");
        }
    }
    ~OrdinaryUser()
    {
        if (m_root && ::seteuid(0) != 0) {
            qFatal("The test cannot be root again.");
        }
    }
    Q_DISABLE_COPY(OrdinaryUser)

private:
    static constexpr uid_t Nobody = 65534;
    const bool m_root = ::geteuid() == 0;
};
