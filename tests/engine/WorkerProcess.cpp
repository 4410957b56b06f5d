// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/WorkerProcess.h"

#include <QTest>

WorkerProcess::WorkerProcess(const QString &url, const UpdateFolders &folders,
                             const QList<tagDownloadFileInfo> &files, const QString &authorities)
{
    QStringList command = m_memory.wrapper();
    command << QStringLiteral(WORKER_DRIVER) << url << folders.staging.path()
            << folders.install.path();
    for (const tagDownloadFileInfo &file : files) {
        command << file.path << QString::number(file.sizeHigh) << QString::fromLatin1(file.md5);
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("WORKER_CA"), authorities);
    m_process.setProcessEnvironment(environment);
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QObject::connect(&m_process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished),
                     &m_process, [this] { m_lifetime = m_timer.elapsed(); });
    m_timer.start();
    m_process.start(command.takeFirst(), command);
}

QString WorkerProcess::end(int deadlineMs)
{
    if (!QTest::qWaitFor([this] { return !isRunning(); }, deadlineMs)) {
        return QStringLiteral("the worker did not end");
    }
    const QString last = said().value(said().size() - 1);
    const bool success = last == QStringLiteral("end 更新成功");
    if (!last.startsWith(QLatin1String("end ")) || m_process.exitCode() != (success ? 0 : 1)) {
        return QStringLiteral("the worker ended with %1").arg(m_process.exitCode());
    }
    return last.mid(4);
}

QStringList WorkerProcess::said()
{
    m_output += m_process.readAllStandardOutput();
    QStringList lines = QString::fromUtf8(m_output).split(QLatin1Char('\n'));
    lines.removeLast(); // not said whole
    return lines;
}

void WorkerProcess::report(const QString &what) const
{
    qInfo("worker, %s: %.1f MiB, %lld ms", qPrintable(what), m_memory.mebibytes(), m_lifetime);
}
