// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/engine/EngineFixture.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/PeakMemory.h"

#include <QElapsedTimer>

/// A worker in a separate process, so that its memory can be told from the test's.
class WorkerProcess {
public:
    /// Starts the worker. \a authorities names a file of the certificates that it trusts.
    WorkerProcess(const QString &url, const UpdateFolders &folders,
                  const QList<tagDownloadFileInfo> &files, const QString &authorities = QString());

    /// Waits for its end, while this thread's events are handled, and returns its last message, or
    /// how else it ended.
    QString end(int deadlineMs = 20000);
    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    /// What it has said so far, a line each.
    QStringList said();
    /// Milliseconds from its start to its end.
    qint64 lifetime() const { return m_lifetime; }
    double peakMebibytes() const { return m_memory.mebibytes(); }
    /// Prints what it took.
    void report(const QString &what) const;

private:
    PeakMemory m_memory;
    QElapsedTimer m_timer;
    qint64 m_lifetime = -1;
    ChildProcess m_process;
    QByteArray m_output;
};
