// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "InplaceUpdate.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>

namespace {

QString Program()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/inplace_update");
}

QStringList Arguments(const QString &step)
{
    const QDir bundle(QCoreApplication::applicationDirPath() + QStringLiteral("/../.."));
    const QString data = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QStringList arguments{step,
                          QStringLiteral("--console"),
                          QStringLiteral("--base-url"),
                          QStringLiteral(KESTREL_BASE_URL),
                          QStringLiteral("--install"),
                          bundle.canonicalPath(),
                          QStringLiteral("--staging"),
                          data + QStringLiteral("/update")};
    const QString key = QStringLiteral(KESTREL_PUBLIC_KEY);
    if (!key.isEmpty()) { // never empty in what you ship
        arguments << QStringLiteral("--public-key") << key;
    }
    return arguments;
}

} // namespace

InplaceUpdate::InplaceUpdate(QObject *parent) : QObject(parent)
{
    m_program.setProgram(Program());
    m_program.setArguments(Arguments(QStringLiteral("--fetch-only")));
    m_program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    connect(&m_program, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            &InplaceUpdate::read);
    connect(&m_program, &QProcess::errorOccurred, this, &InplaceUpdate::giveUp);
}

bool InplaceUpdate::isThere() const
{
    return QFileInfo(Program()).isExecutable();
}

void InplaceUpdate::fetch()
{
    if (!isRunning()) {
        m_program.start(QIODevice::ReadOnly);
    }
}

void InplaceUpdate::apply() const
{
    (void)QProcess::startDetached(Program(), Arguments(QStringLiteral("--apply-only")));
}

void InplaceUpdate::read()
{
    const QJsonObject report = QJsonDocument::fromJson(m_program.readAllStandardOutput()).object();
    const bool ready = report.value(QLatin1String("code")) == QLatin1String("ready");
    emit fetched(ready ? report.value(QLatin1String("version")).toString() : QString(),
                 report.value(QLatin1String("errormsg")).toString());
}

void InplaceUpdate::giveUp(QProcess::ProcessError error)
{
    if (error == QProcess::FailedToStart) { // nothing else ends without finished()
        emit fetched(QString(), m_program.errorString());
    }
}
