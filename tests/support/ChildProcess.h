// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QProcess>

#include <csignal>
#include <sys/prctl.h>

/// A process that does not outlive the test that started it, however the test ends. Start it on
/// the main thread.
class ChildProcess : public QProcess {
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
protected:
    void setupChildProcess() override
    {
        DieWithParent();
    }
#else
public:
    ChildProcess()
    {
        setChildProcessModifier(DieWithParent);
    }
#endif

private:
    static void DieWithParent()
    {
        (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
    }
};
