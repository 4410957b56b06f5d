// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/inplace/InplaceFixture.h"
#include "tests/support/ChildProcess.h"

#include <QElapsedTimer>

/// The program inplace_update on two folders, measured.
class InplaceProgram {
public:
    InplaceProgram(const QString &url, const UpdateFolders &folders, bool console = true);

    /// Starts it, in a process that has run the shell commands \a before, such as "ulimit -f 1".
    void start(const QString &before = QString());
    /// Waits for its end. False when it does not come.
    bool waitForEnd(int milliseconds = 30000);
    /// start() and waitForEnd() in one. Returns exitCode().
    int run(const QString &before = QString());
    /// Ends it at once. False when it has ended by itself before.
    bool kill();

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    qint64 processId() const { return m_process.processId(); }
    /// -1 while it runs and when it was killed or has crashed.
    int exitCode() const;
    /// What it has printed on standard output, and on standard error.
    QString report() const { return QString::fromUtf8(m_report); }
    QByteArray errors() const { return m_errors; }
    qint64 milliseconds() const { return m_milliseconds; }
    /// The most memory it has had, in MiB, seen by waitForEnd().
    qint64 peakMiB() const { return m_peakKiB / 1024; }

private:
    ChildProcess m_process;
    QStringList m_arguments;
    QElapsedTimer m_timer;
    QByteArray m_report;
    QByteArray m_errors;
    qint64 m_milliseconds = 0;
    qint64 m_peakKiB = 0;
};
