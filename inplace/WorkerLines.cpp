// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/WorkerLines.h"

#include "inplace/Report.h"
#include "release/Formats.h"

#include <utility>

namespace {

constexpr qint64 PauseMs = 1000;

} // namespace

WorkerLines::WorkerLines(const CDownloadThread &worker, QList<tagDownloadFileInfo> listed)
    : m_listed(std::move(listed))
{
    for (const tagDownloadFileInfo &record : m_listed) {
        m_total += FileSize(record);
    }
    connect(&worker, &CDownloadThread::downloadStarted, this,
            [this](const QFileInfo &, int current) { begin(current); });
    connect(&worker, &CDownloadThread::downloadProgress, this, &WorkerLines::look);
    say(0);
}

void WorkerLines::begin(int current)
{
    for (; m_current < current; ++m_current) {
        m_before += FileSize(m_listed.at(m_current));
    }
    say(0);
}

void WorkerLines::look(int64_t received)
{
    if (m_said.elapsed() >= PauseMs && received > 0) {
        say(qMin(static_cast<quint64>(received), FileSize(m_listed.at(m_current))));
    }
}

void WorkerLines::say(quint64 received)
{
    m_said.start();
    const quint64 done = m_before + received;
    const quint64 percent = m_total == 0 ? 100 : done * 100 / m_total;
    SayProgress(QStringLiteral("[%1/%2] %3 %4/%5 bytes %6%")
                    .arg(QString::number(m_current + 1), QString::number(m_listed.size()),
                         m_listed.at(m_current).path, QString::number(done),
                         QString::number(m_total), QString::number(percent)));
}
