// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/Formats.h"

#include "app/FileNames.h"
#include "release/ReleasePaths.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace {

const QString Version = QStringLiteral("Version");
const QString VersionString = QStringLiteral("VersionString");
const QString Folder = QStringLiteral("Folder");
const QString MinVersion = QStringLiteral("MinVersion");
const QString DownloadUrl = QStringLiteral("DownloadUrl");

QString ManifestLineReason(const QByteArray &line)
{
    static const QRegularExpression digest(QStringLiteral("\\A[0-9a-f]{32}\\z"));
    static const QRegularExpression size(QStringLiteral("\\A[0-9a-fA-F]{1,16}\\z"));
    const QList<QByteArray> fields = line.split('\t');
    if (fields.size() != 3) {
        return QStringLiteral("it does not have three fields");
    }
    if (!digest.match(QString::fromLatin1(fields.at(0))).hasMatch()) {
        return QStringLiteral("its MD5 text is not 32 lower-case hexadecimal digits");
    }
    if (!size.match(QString::fromLatin1(fields.at(1))).hasMatch()) {
        return QStringLiteral("its size is not a hexadecimal number");
    }
    if (fields.at(1).toULongLong(nullptr, 16) >= static_cast<quint64>(TooLargeSize)) {
        return QStringLiteral("files %1 cannot be updated").arg(TooLargeText);
    }
    const QString path = QString::fromUtf8(fields.at(2));
    const QString reason = UnsafePathReason(path);
    return reason.isEmpty() ? reason : QStringLiteral("path \"%1\": %2").arg(path, reason);
}

} // namespace

quint64 FileSize(const tagDownloadFileInfo &record)
{
    return (quint64{record.sizeHigh} << 32U) + record.sizeLow;
}

QByteArray ManifestContent(const std::vector<tagDownloadFileInfo> &records)
{
    QByteArray content;
    for (const tagDownloadFileInfo &record : records) {
        content += record.md5 + '\t' + QByteArray::number(FileSize(record), 16) + '\t' +
                   record.path.toUtf8() + '\n';
    }
    return content;
}

QByteArray DescriptionContent(const PublishedDescription &description)
{
    const QJsonObject object{{Version, description.version},
                             {VersionString, description.versionString},
                             {Folder, description.folder},
                             {MinVersion, description.minVersion},
                             {DownloadUrl, description.downloadUrl}};
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

QStringList DescriptionProblems(const QByteArray &content, PublishedDescription &description)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(content, &error);
    if (!document.isObject()) {
        return {error.error == QJsonParseError::NoError
                    ? QStringLiteral("it is not a JSON object")
                    : QStringLiteral("it is not JSON: %1").arg(error.errorString())};
    }
    const QJsonObject object = document.object();
    QStringList problems;
    const auto number = [&object, &problems](const QString &key) {
        const QJsonValue value = object.value(key);
        if (!value.isDouble() || value.toDouble() != value.toInt(0)) {
            problems.append(QStringLiteral("%1 is not a whole number").arg(key));
        }
        return value.toInt();
    };
    const auto text = [&object, &problems](const QString &key) {
        const QJsonValue value = object.value(key);
        if (!value.isString()) {
            problems.append(QStringLiteral("%1 is not a text").arg(key));
        }
        return value.toString();
    };
    description = {number(Version), text(VersionString), text(Folder), number(MinVersion),
                   text(DownloadUrl)};
    const QString folderReason = FolderReason(description.folder);
    if (!folderReason.isEmpty()) {
        problems.append(QStringLiteral("%1: %2").arg(Folder, folderReason));
    }
    const QString urlReason = DownloadUrlReason(description.downloadUrl);
    if (!urlReason.isEmpty()) {
        problems.append(QStringLiteral("%1: %2").arg(DownloadUrl, urlReason));
    }
    return problems;
}

QStringList ManifestProblems(const QByteArray &content)
{
    QStringList problems;
    QStringList paths;
    QList<QByteArray> lines = content.split('\n');
    if (lines.constLast().isEmpty()) {
        lines.removeLast();
    }
    for (int index = 0; index < lines.size(); ++index) {
        QByteArray &line = lines[index];
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        const QString reason = ManifestLineReason(line);
        if (!reason.isEmpty()) {
            problems.append(QStringLiteral("line %1: %2").arg(QString::number(index + 1), reason));
            continue;
        }
        paths.append(QString::fromUtf8(line.split('\t').constLast()));
    }
    if (lines.isEmpty()) {
        problems.append(QStringLiteral("it lists no file"));
    }
    const QString collision = CollisionReason(paths);
    if (!collision.isEmpty()) {
        problems.append(collision);
    }
    return problems;
}

QString DownloadUrlReason(const QString &url)
{
    const QUrl parsed(url, QUrl::StrictMode);
    if (!parsed.isValid() || parsed.scheme() != QLatin1String("https") || parsed.host().isEmpty()) {
        return QStringLiteral("\"%1\" is not an https address").arg(url);
    }
    return {};
}

QString FolderReason(const QString &folder)
{
    if (QString reason = UnsafePathReason(folder); !reason.isEmpty()) {
        return reason;
    }
    if (QString reason = UnsafePathReason(folder + QStringLiteral("/file")); !reason.isEmpty()) {
        return reason; // of a folder, not of a file
    }
    if (folder.contains(QLatin1Char('/'))) {
        return QStringLiteral("it is a path, not a name");
    }
    if (folder.startsWith(WorkspacePrefix) ||
        folder.compare(UPDATE_DESCRIBE_FILENAME, Qt::CaseInsensitive) == 0) {
        return QStringLiteral("the name is reserved");
    }
    return {};
}
