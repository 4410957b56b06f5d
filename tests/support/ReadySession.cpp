// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/ReadySession.h"

#include "tests/support/HostBundle.h"

#include <QList>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// The ends that a shot closes, of all shots: each new process comes with a copy of every one, and
/// as long as it kept them, no other one would start.
QList<int> OpenEnds;

} // namespace

StartingShot::StartingShot()
{
    if (::pipe2(m_pipe.data(), O_CLOEXEC) != 0) {
        qFatal("There is no pipe for the starting shot.");
    }
    OpenEnds.append(m_pipe[1]);
}

StartingShot::~StartingShot()
{
    fire();
    (void)::close(m_pipe[0]);
}

void StartingShot::fire()
{
    if (m_pipe[1] != -1) {
        OpenEnds.removeOne(m_pipe[1]);
        (void)::close(m_pipe[1]);
        m_pipe[1] = -1;
    }
}

void StartingShot::await() const
{
    char nothing = 0;
    for (const int end : qAsConst(OpenEnds)) {
        (void)::close(end);
    }
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
