// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "LogStorm.h"

#include "tests/support/TestFiles.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QRegularExpression>
#include <QThread>

#include <array>

namespace {

constexpr int PatienceMs = 200000; // for a storm under a sanitizer on a busy machine
constexpr int ALot = 20000;        // bytes, some hundred lines

const QRegularExpression &LinePattern()
{
    static const QRegularExpression pattern(
        QStringLiteral("\\[([0-9-]{10}) [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} I\\] unknown:0 - "
                       "([0-9]+) ([0-9]+) ([0-9]+) (\\.*) end$"));
    return pattern;
}

} // namespace

uint qHash(const StormLines::Id &id)
{
    return ::qHash((quint64(id.process) << 48U) ^ (quint64(id.thread) << 32U) ^ quint64(id.number));
}

void StormLines::add(const QByteArray &content)
{
    QList<QByteArray> lines = content.split('\n');
    if (!lines.last().isEmpty()) {
        broken.append(lines.last());
    }
    lines.removeLast();
    for (const QByteArray &line : qAsConst(lines)) {
        const QRegularExpressionMatch match = LinePattern().match(QString::fromUtf8(line));
        const int number = match.captured(4).toInt();
        const bool whole = match.hasMatch() && match.capturedLength(5) == number % 97;
        if (!whole || match.capturedStart() != 0) {
            broken.append(line);
        }
        if (whole) {
            const Id id{match.captured(2).toInt(), match.captured(3).toInt(), number};
            doubled += days.contains(id) ? 1 : 0;
            days.insert(id, match.captured(1).toLatin1());
        }
    }
}

int StormLines::gaps(int process, int thread, int logged) const
{
    int gaps = 0;
    bool wasThere = true;
    for (int number = 0; number < logged; ++number) {
        const bool isThere = days.contains({process, thread, number});
        gaps += wasThere && !isThere ? 1 : 0;
        wasThere = isThere;
    }
    return gaps;
}

LogStorm::LogStorm() : environment(QProcessEnvironment::systemEnvironment())
{
    if (!data().mkpath(QStringLiteral("Log"))) {
        qFatal("The storm has no folder.");
    }
    environment.insert(QStringLiteral("DATA_DIRECTORY"), data().path());
    environment.insert(QStringLiteral("TZ"), QStringLiteral("UTC0"));
}

QString LogStorm::logFile() const
{
    const QFileInfoList files =
        QDir(data().filePath(QStringLiteral("Log"))).entryInfoList(QDir::Files, QDir::Name);
    return files.size() == 1 ? files.first().filePath() : QString();
}

QString LogStorm::errorFile(int process) const
{
    return m_folder.filePath(QStringLiteral("errors%1").arg(process));
}

void LogStorm::start(int lines, const QStringList &options)
{
    for (int i = 0; i < Processes; ++i) {
        m_processes.push_back(std::make_unique<ChildProcess>());
        m_processes.back()->setProcessEnvironment(environment);
        m_processes.back()->setStandardErrorFile(errorFile(i));
        m_processes.back()->start(
            QStringLiteral(STORM_DRIVER),
            QStringList{QString::number(i), QString::number(Threads), QString::number(lines)} +
                options);
    }
}

bool LogStorm::goesOn() const
{
    std::array<qint64, Processes> enough{};
    for (int i = 0; i < Processes; ++i) {
        enough.at(static_cast<std::size_t>(i)) = QFileInfo(errorFile(i)).size() + ALot;
    }
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < Processes; ++i) {
        const auto &process = m_processes[static_cast<std::size_t>(i)];
        while (process->state() != QProcess::NotRunning &&
               QFileInfo(errorFile(i)).size() < enough.at(static_cast<std::size_t>(i))) {
            if (timer.elapsed() > PatienceMs) {
                return false;
            }
            QThread::msleep(1);
        }
    }
    return true;
}

void LogStorm::kill(int process)
{
    ChildProcess &killed = *m_processes[static_cast<std::size_t>(process)];
    killed.kill();
    (void)killed.waitForFinished(PatienceMs); // stop() judges
}

bool LogStorm::stop()
{
    bool well = true;
    for (const auto &process : m_processes) {
        process->closeWriteChannel();
    }
    for (const auto &process : m_processes) {
        const bool ended =
            process->state() == QProcess::NotRunning || process->waitForFinished(PatienceMs);
        const bool killed = process->exitStatus() == QProcess::CrashExit;
        well =
            well && ended && (killed ? process->exitCode() == SIGKILL : process->exitCode() == 0);
        m_logged.push_back(process->readAllStandardOutput().split('\n'));
    }
    return well;
}

int LogStorm::logged(int process, int thread) const
{
    const QList<QByteArray> &counts = m_logged.at(static_cast<std::size_t>(process));
    return counts.size() > Threads ? counts.at(thread).toInt() : -1;
}

int LogStorm::passedOn() const
{
    int lines = 0;
    for (int i = 0; i < Processes; ++i) {
        lines += ReadFile(errorFile(i)).count('\n');
    }
    return lines;
}
