// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "LogStage.h"

const QString LogStage::day = QStringLiteral("data/Log/2024-03-07.log");

LogStage::LogStage() : Stage(QStringLiteral(LOG_DRIVER), QStringLiteral("log_driver"))
{
    makeFolder(QStringLiteral("data"));
    environment.insert(QStringLiteral("DATA_DIRECTORY"), path(QStringLiteral("data")));
    environment.insert(QStringLiteral("TZ"), QStringLiteral("UTC0"));
}

RunResult LogStage::run(const QStringList &commands)
{
    return Stage::run(QStringList{QStringLiteral("clock"), QStringLiteral("1709812800000")} +
                      commands);
}

QByteArray LogStage::line(char type, const QByteArray &text)
{
    return QByteArray("[2024-03-07 12:00:00.000 ") + type + "] unknown:0 - " + text + '\n';
}
