// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ManifestHead.h"

#include "release/Formats.h"

QString ReadReleaseFields(Bytes version, Bytes folder, Bytes versionString,
                          ReleaseManifest &manifest)
{
    QString reason = ReadNumber(version, manifest.version);
    if (reason.isEmpty()) {
        reason = ReadText(folder, manifest.folder);
    }
    if (reason.isEmpty()) {
        reason = ReadText(versionString, manifest.versionString);
    }
    if (!reason.isEmpty()) {
        return reason;
    }
    reason = FolderReason(manifest.folder);
    return reason.isEmpty() ? reason
                            : QStringLiteral("folder \"%1\": %2").arg(manifest.folder, reason);
}

QString ReadApplication(Bytes field, QString &application)
{
    return field.empty() ? QStringLiteral("the application has no identifier")
                         : ReadText(field, application);
}

QString ReadPage(Bytes field, QString &page)
{
    const QString reason = ReadText(field, page);
    return reason.isEmpty() ? DownloadUrlReason(page) : reason;
}
