// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/BundleVersion.h"

#include "app/FileNames.h"
#include "platform/InfoPlist.h"
#include "publish/PublishChecks.h"
#include "release/Formats.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

const QString PropertyList = QStringLiteral("Contents/Info.plist");

QString Numbered(const QString &version)
{
    return QStringLiteral("%1 (%2)").arg(version, QString::number(NumberOf(version)));
}

} // namespace

BundleFacts ReadBundleFacts(const QString &releaseDir)
{
    const QString path = QDir(releaseDir).filePath(PropertyList);
    BundleFacts facts;
    facts.isBundle = QFileInfo(path).isFile();
    if (facts.isBundle) {
        const InfoPlist list = ReadInfoPlist(QFile::encodeName(path).toStdString());
        facts.identifier = QString::fromStdString(list.identifier.value_or(std::string()));
        facts.version = QString::fromStdString(list.version.value_or(std::string()));
    }
    return facts;
}

QString OtherVersionReason(const BundleFacts &facts, const QString &version)
{
    if (!facts.isBundle || NumberOf(facts.version) == NumberOf(version)) {
        return {};
    }
    if (facts.version.isEmpty()) {
        return QStringLiteral("Version %1 is not that of the release, whose %2 has none: users "
                              "would be told of the same update for ever.")
            .arg(Numbered(version), PropertyList);
    }
    return QStringLiteral("Version %1 is not that of the release, whose %2 says %3: users would be "
                          "told of the same update for ever, or never.")
        .arg(Numbered(version), PropertyList, Numbered(facts.version));
}

QString NotAboveReason(const QString &outputDir, const QString &version)
{
    const QString path = QDir(outputDir).filePath(UPDATE_DESCRIBE_FILENAME);
    QFile file(path);
    if (!file.exists()) {
        return {};
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return QStringLiteral("\"%1\" cannot be read: %2.").arg(path, file.errorString());
    }
    PublishedDescription announced;
    (void)DescriptionProblems(file.readAll(), announced); // what is missing counts as 0, as ever
    if (NumberOf(version) > announced.version) {
        return {};
    }
    return QStringLiteral("Version %1 is not above the announced one, %2 (%3): users who have that "
                          "one would not be told of it.")
        .arg(Numbered(version), announced.versionString, QString::number(announced.version));
}
