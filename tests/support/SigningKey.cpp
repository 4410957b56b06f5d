// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/SigningKey.h"

#include "tests/support/TestFiles.h"

#include <QProcess>

namespace {

bool RunsWell(const QStringList &command)
{
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(command.constFirst(), command.mid(1));
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

} // namespace

SigningKey::SigningKey()
{
    const QString publicKey = m_folder.filePath(QStringLiteral("public"));
    const QString secretKey = m_folder.filePath(QStringLiteral("secret"));
    if (!RunsWell({QStringLiteral("minisign"), QStringLiteral("-GW"), QStringLiteral("-p"),
                   publicKey, QStringLiteral("-s"), secretKey})) {
        qFatal("minisign makes no key.");
    }
    m_publicKey = QString::fromLatin1(ReadFile(publicKey).split('\n').value(1));
}

QString SigningKey::secretKey() const
{
    return m_folder.filePath(QStringLiteral("secret"));
}

QString SigningKey::command() const
{
    return arguments().join(QLatin1Char(' '));
}

QStringList SigningKey::arguments(const QStringList &options) const
{
    return QStringList{QStringLiteral("minisign"), QStringLiteral("-S"), QStringLiteral("-s"),
                       secretKey()} +
           options + QStringList{QStringLiteral("-m")};
}

QByteArray SigningKey::signature(const QByteArray &content, const QStringList &options) const
{
    const QString file = m_folder.filePath(QStringLiteral("content"));
    WriteFile(file, content);
    if (!RunsWell(arguments(options) + QStringList{file})) {
        qFatal("minisign does not sign.");
    }
    return ReadFile(file + QStringLiteral(".minisig"));
}

bool SigningKey::accepts(const QByteArray &content, const QByteArray &signature,
                         const QString &publicKey) const
{
    const QString file = m_folder.filePath(QStringLiteral("content"));
    WriteFile(file, content);
    WriteFile(file + QStringLiteral(".minisig"), signature);
    return RunsWell({QStringLiteral("minisign"), QStringLiteral("-V"), QStringLiteral("-P"),
                     publicKey.isEmpty() ? m_publicKey : publicKey, QStringLiteral("-m"), file});
}
