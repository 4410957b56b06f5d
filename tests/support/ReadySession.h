// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/ChildProcess.h"

#include <QString>

#include <array>

class HostBundle;

/// Lets sessions that are ready begin at the same instant.
class StartingShot {
public:
    StartingShot();
    ~StartingShot();
    Q_DISABLE_COPY(StartingShot)

    void fire();
    /// The path of a file that a child process opens and that ends when the shot is fired.
    QString gate() const;

private:
    std::array<int, 2> m_pipe{-1, -1}; // its end is the shot
};

/// A process for a bundle's console session, which begins when the shot is fired.
class ReadySession : public ChildProcess {
public:
    /// Returns when the process waits. \a shot must live until it has been fired.
    ReadySession(const HostBundle &bundle, const StartingShot &shot);
};
