// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/HostHandoff.h"

#include "ui/UpdateError.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <cstdio>

void StartMainExecute(const QString &exeName)
{
    if (exeName.isEmpty()) {
        return;
    }
    const QStringList arguments{QCoreApplication::applicationFilePath(),
                                QStringLiteral("no_check")};
    const QDir applicationDir(QCoreApplication::applicationDirPath());
    // A host that cannot be started leaves nothing to do: the session ends either way.
    (void)QProcess::startDetached(applicationDir.absoluteFilePath(exeName), arguments);
}

void ReportErrorToMainExecute(bool success, bool update, const QString &errormsg)
{
    const QJsonObject report{{QStringLiteral("success"), success},
                             {QStringLiteral("update"), update},
                             {QStringLiteral("errormsg"), errormsg}};
    const QByteArray json = QJsonDocument(report).toJson(QJsonDocument::Compact);
    (void)std::fputs(json.constData(), stdout); // a reader that has gone away changes nothing
    (void)std::fflush(stdout);
    qDebug().noquote() << QString::fromUtf8(json);
}

bool ShowErrorDialog(CUpdateError &dialog, const QString &title, const QString &message, bool retry)
{
    dialog.setError(title, message, retry);
    return dialog.exec() == QDialog::Accepted;
}
