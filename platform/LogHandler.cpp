// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/LogHandler.h"

#include "platform/PlatformServices.h"
#include "platform/QtDefaults.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QString>
#include <QTextStream>

#include <mutex>

static QtMsgType s_LogLevel = QtCriticalMsg;
static QDir s_LogPath = QDir(QString());
static QtMessageHandler s_DefaltHandler = nullptr;

static void messageHandler(QtMsgType type, const QMessageLogContext &context, const QString &msg)
{
    // Compares the numbers, not severities, on purpose: info messages (4) pass every level.
    if (static_cast<int>(type) >= static_cast<int>(s_LogLevel)) {
        static std::recursive_mutex lock; // a message raised while writing comes back here
        QFile file;                       // outlives the guard
        const std::lock_guard<std::recursive_mutex> guard(lock);
        const QString name = QDate::currentDate().toString(QStringLiteral("yyyy-MM-dd.log"));
        file.setFileName(s_LogPath.absoluteFilePath(name));
        // Opened and closed for each message, so that every line is on disk when the handler
        // returns.
        if (file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
            QTextStream stream(&file);
            UseUtf8(stream);
            stream << qFormatLogMessage(type, context, msg) << "\n";
            file.close();
        }
    }
    s_DefaltHandler(type, context, msg);
}

void CLogHandler::SetLogLevel(QtMsgType level)
{
    s_LogLevel = level;
}

void CLogHandler::Initialize()
{
    qSetMessagePattern(
        QStringLiteral("[%{time yyyy-MM-dd hh:mm:ss.zzz} %{if-debug}D%{endif}%{if-info}I%{endif}"
                       "%{if-warning}W%{endif}%{if-critical}C%{endif}%{if-fatal}F%{endif}] "
                       "%{file}:%{line} - %{message}"));
    s_LogPath = QDir(QString::fromUtf8(ApplicationHomePath()));
    if (!s_LogPath.exists(QStringLiteral("Log"))) {
        (void)s_LogPath.mkdir(QStringLiteral("Log")); // a missing folder shows in the next step
    }
    (void)s_LogPath.cd(QStringLiteral("Log")); // without it the files go to the data directory
    s_DefaltHandler = qInstallMessageHandler(messageHandler);
}

void CLogHandler::Release()
{
    qInstallMessageHandler(nullptr);
}
