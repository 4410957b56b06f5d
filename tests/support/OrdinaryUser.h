// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <unistd.h>

/// If the process runs as root, makes it an ordinary user while this object lives, so that
/// permissions apply.
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
