// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/e2e/MeasuredSession.h"
#include "tests/support/LogMarkers.h"

#include <QDirIterator>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTimer>

QByteArray MeasuredDescription()
{
    const QByteArray begin = R"({"Version":3000000,"VersionString":"3.0.0","Notes":")";
    const QByteArray end = "\"}";
    return begin + QByteArray(4000 - begin.size() - end.size(), 'n') + end;
}

QString SessionEnd::text() const
{
    return QStringLiteral("%1|%2|%3|%4")
        .arg(message, success ? QStringLiteral("success") : QStringLiteral("failure"), marker,
             QString::number(exitCode));
}

SessionEnd FetchFailed(const QString &error)
{
    return {QStringLiteral("下载升级描述文件失败:") + error, false, Marker("001"), 0};
}

SessionEnd Arrived(const QByteArray &body)
{
    if (body == MeasuredDescription()) {
        return {QStringLiteral("current version:3.0.0, newest version:3.0.0"), true, Marker("3"),
                1};
    }
    return {QStringLiteral("升级描述文件内容不合法:") + QString::fromUtf8(body), false,
            Marker("01"), 0};
}

MeasuredSession::MeasuredSession(const QString &updater, const QMap<QString, QString> &more)
    : m_bundle(updater)
{
    QProcessEnvironment environment = m_bundle.environment();
    for (auto variable = more.cbegin(); variable != more.cend(); ++variable) {
        environment.insert(variable.key(), variable.value());
    }
    m_timer.start();
    m_process = m_bundle.start({QStringLiteral("console")}, environment, m_memory.wrapper());
    QObject::connect(m_process.get(), qOverload<int, QProcess::ExitStatus>(&QProcess::finished),
                     m_process.get(), [this] { m_lifetime = m_timer.elapsed(); });
}

SessionEnd MeasuredSession::end(int deadlineMs)
{
    if (m_process->state() != QProcess::NotRunning) {
        QEventLoop loop; // at once: there may be much to read
        QObject::connect(m_process.get(), qOverload<int, QProcess::ExitStatus>(&QProcess::finished),
                         &loop, &QEventLoop::quit);
        QTimer::singleShot(deadlineMs, &loop, &QEventLoop::quit);
        loop.exec();
    }
    if (m_process->state() != QProcess::NotRunning) {
        return {QStringLiteral("the session did not end"), false, {}, -1};
    }
    const QStringList log = m_bundle.log();
    const QJsonObject report = QJsonDocument::fromJson(m_process->readAllStandardOutput()).object();
    return {report.value(QLatin1String("errormsg")).toString(),
            report.value(QLatin1String("success")).toBool(), log.value(log.size() - 1),
            m_process->exitCode()};
}

QStringList MeasuredSession::leftFiles() const
{
    QStringList files;
    QDirIterator entries(m_bundle.home(), QDir::Files | QDir::Hidden | QDir::System,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        files << QDir(m_bundle.home()).relativeFilePath(entries.next());
    }
    const QStringList logs = files.filter(
        QRegularExpression(QStringLiteral("^\\.com\\.example\\.kestrel/Log/[0-9-]+\\.log$")));
    for (const QString &log : logs.mid(0, 1)) {
        files.removeOne(log);
    }
    return files;
}

void MeasuredSession::report(const QString &what) const
{
    qInfo("session, %s: %.1f MiB, %lld ms", qPrintable(what), m_memory.mebibytes(), m_lifetime);
}
