// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/FaultyAnswers.h"
#include "tests/support/HostBundle.h"
#include "tests/support/PeakMemory.h"

#include <QElapsedTimer>

#include <memory>

/// Returns a description of 4,000 bytes that needs no update.
QByteArray MeasuredDescription();

/// How a console session ended: message and success of its report, closing marker and exit code.
struct SessionEnd {
    QString message;
    bool success = false;
    QString marker;
    int exitCode = -1;

    /// All of it in one text, for comparison.
    QString text() const;
};

/// The end of a session when no description arrives, with the fetch's \a error.
SessionEnd FetchFailed(const QString &error);
/// The end of a session that receives \a body, which is either MeasuredDescription() or invalid.
SessionEnd Arrived(const QByteArray &body);

/// A console session in its own bundle, with its time and memory.
class MeasuredSession {
public:
    /// Installs \a updater and starts it, with \a more in its environment.
    explicit MeasuredSession(const QString &updater, const QMap<QString, QString> &more = {});

    /// Waits for its end, while this thread's events are handled.
    SessionEnd end(int deadlineMs);
    /// Files in its home that no session may leave: all but one log.
    QStringList leftFiles() const;
    /// Milliseconds from its start to its end.
    qint64 lifetime() const { return m_lifetime; }
    double peakMebibytes() const { return m_memory.mebibytes(); }
    /// Prints its time and memory.
    void report(const QString &what) const;
    const HostBundle &bundle() const { return m_bundle; }

private:
    HostBundle m_bundle;
    PeakMemory m_memory;
    QElapsedTimer m_timer;
    qint64 m_lifetime = -1;
    std::unique_ptr<QProcess> m_process;
};
