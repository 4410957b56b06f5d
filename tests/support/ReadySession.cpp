// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/ReadySession.h"

#include "tests/support/HostBundle.h"

#include <fcntl.h>
#include <unistd.h>

StartingShot::StartingShot()
{
    if (::pipe2(m_pipe.data(), O_CLOEXEC) != 0 || ::fcntl(m_pipe[0], F_SETFD, 0) != 0) {
        qFatal("There is no pipe for the starting shot.");
    }
}

StartingShot::~StartingShot()
{
    fire();
    (void)::close(m_pipe[0]);
}

void StartingShot::fire()
{
    if (m_pipe[1] != -1) {
        (void)::close(m_pipe[1]);
        m_pipe[1] = -1;
    }
}

QString StartingShot::gate() const
{
    return QStringLiteral("/dev/fd/%1").arg(m_pipe[0]);
}

ReadySession::ReadySession(const HostBundle &bundle, const StartingShot &shot)
{
    // Only a separate program can wait: Qt may hold this process until the program has started.
    bundle.prepare(*this, bundle.environment());
    start(QStringLiteral("/bin/sh"),
          {QStringLiteral("-c"), QStringLiteral("echo; read -r _ <\"$0\"; exec \"$@\""),
           shot.gate(), bundle.updaterPath(), QStringLiteral("console")});
    while (!canReadLine() && waitForReadyRead()) {
    }
    if (readLine() != "\n") {
        qFatal("A session does not get ready.");
    }
}
