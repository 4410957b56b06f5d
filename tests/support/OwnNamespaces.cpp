// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/OwnNamespaces.h"

#include <QByteArray>
#include <QFile>

#include <cstring>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

bool Tell(const char *path, const QByteArray &text)
{
    QFile file(QFile::decodeName(path));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
           file.write(text) == text.size();
}

/// Enters a user namespace in which this process has root's rights and keeps its user number.
bool EnterAsOrdinaryUser(int flags)
{
    const QByteArray user = QByteArray::number(::geteuid());
    const QByteArray group = QByteArray::number(::getegid());
    return ::unshare(CLONE_NEWUSER | flags) == 0 && Tell("/proc/self/setgroups", "deny") &&
           Tell("/proc/self/uid_map", user + ' ' + user + " 1") &&
           Tell("/proc/self/gid_map", group + ' ' + group + " 1");
}

bool BringLoopbackUp()
{
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo"); // NOLINT(clang-analyzer-security.insecureAPI.strcpy)
    request.ifr_flags = IFF_UP;
    const bool up = socket != -1 && ::ioctl(socket, SIOCSIFFLAGS, &request) == 0;
    (void)::close(socket);
    return up;
}

} // namespace

bool EnterOwnNamespaces(unsigned namespaces)
{
    const int flags = ((namespaces & OwnMounts) != 0 ? CLONE_NEWNS : 0) |
                      ((namespaces & OwnNetwork) != 0 ? CLONE_NEWNET : 0) |
                      ((namespaces & OwnIpc) != 0 ? CLONE_NEWIPC : 0);
    if (::unshare(flags) != 0 && !EnterAsOrdinaryUser(flags)) {
        return false;
    }
    if ((namespaces & OwnMounts) != 0 &&
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        return false;
    }
    return (namespaces & OwnNetwork) == 0 ||
           (BringLoopbackUp() &&
            (::geteuid() == 0 || Tell("/proc/sys/net/ipv4/ip_unprivileged_port_start", "0")));
}
