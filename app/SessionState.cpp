// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/SessionState.h"

#include "app/FileNames.h"
#include "platform/PlatformServices.h"
#include "platform/QtDefaults.h"

#include <QCoreApplication>
#include <QNetworkProxyFactory>
#include <QSettings>

namespace {

QDir InstallationRoot(QDir applicationDir)
{
    if (applicationDir.dirName().compare(QLatin1String("bin"), Qt::CaseInsensitive) == 0) {
        (void)applicationDir.cdUp(); // nothing in a session needs it
    }
    return applicationDir;
}

QString HostExecutableName(const QDir &applicationDir)
{
    QSettings settings(applicationDir.absoluteFilePath(SYSTEM_CONFIG_FILENAME),
                       QSettings::IniFormat);
    UseUtf8(settings);
    return settings.value(QStringLiteral("ExeName"), QStringLiteral("Host.exe")).toString();
}

QString MakeUpdateDir(const QDir &homeDir)
{
    QDir updateDir(QStringLiteral("update"));
    if (updateDir.isRelative()) {
        updateDir.setPath(homeDir.absoluteFilePath(updateDir.path()));
    }
    (void)updateDir.makeAbsolute(); // a relative home directory makes it necessary
    if (!updateDir.exists()) {
        (void)QDir(QDir::rootPath()).mkpath(updateDir.path()); // nothing in a session needs it
    }
    return updateDir.path();
}

} // namespace

bool SessionState::isCommand(QLatin1String word) const
{
    return command.compare(word, Qt::CaseInsensitive) == 0;
}

SessionState StartUp(const QString &baseUrl, const QString &descriptionName, const QString &command)
{
    SessionState state;
    state.applicationDir = QDir(QCoreApplication::applicationDirPath());
    state.homeDir = QDir(QString::fromUtf8(ApplicationHomePath()));
    state.installationRoot = InstallationRoot(state.applicationDir);
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    state.exeName = HostExecutableName(state.applicationDir);
    state.baseUrl = baseUrl;
    state.descriptionName = descriptionName;
    state.updateDir = MakeUpdateDir(state.homeDir);
    state.hostVersion = GetMainExecutableVersionNum();
    state.hostVersionText = QString::fromUtf8(GetMainExecutableVersion());
    state.command = command;
    return state;
}
