// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QProcess>

#include <csignal>
#include <sys/prctl.h>

/// A process that does not outlive the test that started it, however the test ends. Start it on
/// the main thread.
class ChildProcess : public QProcess {
protected:
    void setupChildProcess() override { (void)::prctl(PR_SET_PDEATHSIG, SIGKILL); }
};
