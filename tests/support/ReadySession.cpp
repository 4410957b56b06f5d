// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/ReadySession.h"

#include "tests/support/HostBundle.h"

#include <fcntl.h>
#include <unistd.h>

StartingShot::StartingShot()
{
    if (::pipe2(m_pipe.data(), O_CLOEXEC) != 0) {
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

void StartingShot::await() const
{
    char nothing = 0;
    (void)::close(m_pipe[1]); // the copy that came with the process
    (void)(::read(m_pipe[0], &nothing, 1) == 0);
}

ReadySession::ReadySession(const HostBundle &bundle, const StartingShot &shot) : m_shot(shot)
{
    bundle.prepare(*this, bundle.environment());
    start(bundle.updaterPath(), {QStringLiteral("console")});
}

void ReadySession::setupChildProcess()
{
    ChildProcess::setupChildProcess();
    m_shot.await();
}
