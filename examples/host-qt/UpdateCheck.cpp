// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "UpdateCheck.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>

UpdateReport ParseUpdateReport(const QByteArray &output)
{
    const QJsonDocument document = QJsonDocument::fromJson(output);
    if (!document.isObject()) {
        return {false, false, QStringLiteral("The updater reported nothing.")};
    }
    const QJsonObject report = document.object();
    return {report.value(QLatin1String("success")).toBool(),
            report.value(QLatin1String("update")).toBool(),
            report.value(QLatin1String("errormsg")).toString()};
}

UpdateCheck::UpdateCheck(QObject *parent) : QObject(parent)
{
    m_updater.setProgram(QCoreApplication::applicationDirPath() + QStringLiteral("/updater"));
    m_updater.setArguments({QStringLiteral("console")});
    m_updater.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // The report has no line end: it is complete when the updater has ended.
    connect(&m_updater, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            &UpdateCheck::read);
    connect(&m_updater, &QProcess::errorOccurred, this, &UpdateCheck::giveUp);
}

void UpdateCheck::start()
{
    if (!isRunning()) {
        m_updater.start(QIODevice::ReadOnly);
    }
}

void UpdateCheck::read()
{
    // The exit code is not a success flag. The report says everything.
    emit finished(ParseUpdateReport(m_updater.readAllStandardOutput()));
}

void UpdateCheck::giveUp(QProcess::ProcessError error)
{
    if (error == QProcess::FailedToStart) { // nothing else ends without finished()
        emit finished({false, false, m_updater.errorString()});
    }
}
