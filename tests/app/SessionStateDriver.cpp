// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/SessionState.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

/// Prints what start-up found out as JSON on standard output.
int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const SessionState state = StartUp(QStringLiteral("https://base"), QStringLiteral("name.json"),
                                       QStringLiteral("ConSole"));
    const QJsonObject object{
        {QStringLiteral("applicationDir"), state.applicationDir.path()},
        {QStringLiteral("homeDir"), state.homeDir.path()},
        {QStringLiteral("installationRoot"), state.installationRoot.path()},
        {QStringLiteral("updateDir"), state.updateDir},
        {QStringLiteral("exeName"), state.exeName},
        {QStringLiteral("baseUrl"), state.baseUrl},
        {QStringLiteral("descriptionName"), state.descriptionName},
        {QStringLiteral("hostVersion"), state.hostVersion},
        {QStringLiteral("hostVersionText"), state.hostVersionText},
        {QStringLiteral("isConsole"), state.isCommand(QLatin1String("console"))},
        {QStringLiteral("isRestart"), state.isCommand(QLatin1String("restart"))},
    };
    (void)std::puts(QJsonDocument(object).toJson().constData());
    return 0;
}
