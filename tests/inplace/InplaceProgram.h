// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/ChildProcess.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QStringList>

/// The program inplace_update, its report and its peak memory.
class InplaceProgram {
public:
    /// \a arguments  without the program's own name.
    explicit InplaceProgram(QStringList arguments);

    /// Puts these words before the command line.
    void prefix(const QStringList &wrapper) { m_arguments = wrapper + m_arguments; }
    /// Sets an environment variable for the program.
    void set(const QString &name, const QString &value);
    /// Starts it, in a process that first runs the shell commands \a before, such as "ulimit -f 1".
    void start(const QString &before = QString());
    /// Waits for it to end. False if it does not.
    bool waitForEnd(int milliseconds = 60000);
    /// start() and waitForEnd() in one. Returns exitCode().
    int run(const QString &before = QString());
    /// Sends it a signal. False if it has already ended.
    bool send(int signal);

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    qint64 processId() const { return m_process.processId(); }
    /// -1 while it runs and if it was killed or has crashed.
    int exitCode() const;
    /// Its report, and the `code` in it.
    QJsonObject report() const;
    QString code() const;
    QByteArray output() const { return m_report; }
    QByteArray errors() const { return m_errors; }
    qint64 milliseconds() const { return m_milliseconds; }
    /// Its peak memory in MiB, as seen by waitForEnd().
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
