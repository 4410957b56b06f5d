// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/UpdateDescription.h"

#include <QJsonDocument>
#include <QJsonObject>

bool ParseUpdateDescription(const QByteArray &content, UpdateDescription &description)
{
    const QJsonDocument document = QJsonDocument::fromJson(content);
    if (document.isEmpty() || !document.isObject()) {
        return false;
    }
    const QJsonObject object = document.object();
    description.version = object.value(QLatin1String("Version")).toInt();
    description.versionString = object.value(QLatin1String("VersionString")).toString();
    description.folder = object.value(QLatin1String("Folder")).toString();
    description.minVersion = object.value(QLatin1String("MinVersion")).toInt();
    description.downloadUrl = object.value(QLatin1String("DownloadUrl")).toString();
    return true;
}

UpdateDecision DecideUpdate(int hostVersion, const UpdateDescription &description)
{
    if (hostVersion >= description.version) {
        return UpdateDecision::NotNeeded;
    }
    return description.minVersion >= hostVersion ? UpdateDecision::Forced
                                                 : UpdateDecision::Optional;
}
