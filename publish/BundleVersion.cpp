// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/BundleVersion.h"

#include "app/FileNames.h"
#include "platform/InfoPlist.h"
#include "publish/PublishChecks.h"
#include "release/Formats.h"
#include "release/ReleaseSignature.h"
#include "release/ReleaseSource.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

const QString PropertyList = QStringLiteral("Contents/Info.plist");

QString Numbered(const QString &version)
{
    return QStringLiteral("%1 (%2)").arg(version, QString::number(NumberOf(version)));
}

/// Reads what update.json says. Anything missing or invalid there counts as absent.
ReleaseFault ReadAnnounced(const QString &outputDir, PublishedDescription &announced)
{
    QByteArray content;
    ReleaseFault fault =
        FolderSource(outputDir).read(UPDATE_DESCRIBE_FILENAME, LongestDescription, content);
    if (fault.isNone()) {
        (void)DescriptionProblems(content, announced);
    }
    return fault;
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
        return QStringLiteral("Version %1 does not match the release, whose %2 has none: users "
                              "would be told of the same update forever.")
            .arg(Numbered(version), PropertyList);
    }
    return QStringLiteral("Version %1 does not match the release, whose %2 says %3: users would be "
                          "told of the same update forever, or never.")
        .arg(Numbered(version), PropertyList, Numbered(facts.version));
}

QString NotAboveReason(const QString &outputDir, const QString &version)
{
    PublishedDescription announced;
    const ReleaseFault fault = ReadAnnounced(outputDir, announced);
    if (fault.kind == ReleaseFault::Kind::Missing) {
        return {};
    }
    if (!fault.isNone()) {
        return QStringLiteral("\"%1\": %2.")
            .arg(QDir(outputDir).filePath(fault.subject), fault.detail);
    }
    if (NumberOf(version) > announced.version) {
        return {};
    }
    return QStringLiteral("Version %1 is not above the announced one, %2 (%3): users who have that "
                          "one would not be told of it.")
        .arg(Numbered(version), announced.versionString, QString::number(announced.version));
}

bool IsAnnouncedSigned(const QString &outputDir)
{
    PublishedDescription announced;
    return ReadAnnounced(outputDir, announced).isNone() &&
           FolderReason(announced.folder).isEmpty() &&
           QFileInfo(QDir(outputDir).filePath(announced.folder) + QLatin1Char('/') +
                     SIGNATURE_FILENAME)
               .isFile();
}
