// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceProgram.h"

#include "tests/support/TestFiles.h"

#include <QJsonDocument>

#include <csignal>

namespace {

constexpr int LookMs = 10;

/// Returns a process's peak resident memory in KiB; 0 if unknown.
qint64 PeakKiB(qint64 processId)
{
    const QByteArray status = ReadFile(QStringLiteral("/proc/%1/status").arg(processId));
    const int at = status.indexOf("VmHWM:");
    return at < 0 ? 0 : status.mid(at + 6, 20).trimmed().split(' ').first().toLongLong();
}

} // namespace

InplaceProgram::InplaceProgram(QStringList arguments)
    : m_arguments(QStringList(QStringLiteral(INPLACE_UPDATE)) + arguments)
{
    m_process.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
}

void InplaceProgram::set(const QString &name, const QString &value)
{
    QProcessEnvironment environment = m_process.processEnvironment();
    environment.insert(name, value);
    m_process.setProcessEnvironment(environment);
}

void InplaceProgram::start(const QString &before)
{
    m_timer.start();
    m_process.start(QStringLiteral("/bin/sh"),
                    QStringList{QStringLiteral("-c"), before + QStringLiteral("\nexec \"$@\""),
                                QStringLiteral("sh")} +
                        m_arguments);
    if (!m_process.waitForStarted()) {
        qFatal("The program cannot be started.");
    }
}

bool InplaceProgram::waitForEnd(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (isRunning() && timer.elapsed() < milliseconds) {
        m_peakKiB = qMax(m_peakKiB, PeakKiB(m_process.processId()));
        (void)m_process.waitForFinished(qMin(LookMs, milliseconds)); // judged by isRunning()
    }
    m_milliseconds = m_timer.elapsed();
    m_report += m_process.readAllStandardOutput();
    m_errors += m_process.readAllStandardError();
    return !isRunning();
}

int InplaceProgram::run(const QString &before)
{
    start(before);
    (void)waitForEnd(); // a run that does not end has no exit code
    return exitCode();
}

bool InplaceProgram::send(int signal)
{
    return isRunning() && ::kill(static_cast<pid_t>(m_process.processId()), signal) == 0;
}

int InplaceProgram::exitCode() const
{
    return !isRunning() && m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode()
                                                                          : -1;
}

QJsonObject InplaceProgram::report() const
{
    return QJsonDocument::fromJson(m_report).object();
}

QString InplaceProgram::code() const
{
    return report().value(QStringLiteral("code")).toString();
}
