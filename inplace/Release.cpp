// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Release.h"

#include "app/FileNames.h"
#include "inplace/WatchedManager.h"
#include "release/Formats.h"
#include "release/ReleasePaths.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>

namespace {

using Headers = QMap<QByteArray, QByteArray>;

constexpr qint32 DescriptionSeconds = 15;
constexpr qint32 ManifestSeconds = 60;
constexpr qint64 DescriptionBytes = qint64{1} << 20;
constexpr qint64 ManifestBytes = qint64{256} << 20;

bool Fetch(const QString &url, qint32 seconds, qint64 limit, QByteArray &body, QString &error)
{
    WatchedManager manager(limit);
    // A body that the network layer unpacks may be far longer than what came.
    const Headers request{{"Accept-Encoding", "identity"}};
    if (!GetFileByUrl(manager, QUrl(url), body, error, seconds, request, "GET", {}, nullptr)) {
        return false;
    }
    error = manager.problem();
    return error.isEmpty();
}

/// Returns why one of the files cannot be updated, or empty text.
QString TooLargeReason(const QMap<QString, tagDownloadFileInfo> &files)
{
    for (const tagDownloadFileInfo &file : files) {
        if (FileSize(file) >= static_cast<quint64>(TooLargeSize)) {
            return QObject::tr("升级清单中的文件过大:\"%1\" (%2字节)")
                .arg(file.path, QString::number(FileSize(file)));
        }
    }
    return {};
}

} // namespace

QString FetchRelease(const QString &baseUrl, Release &release)
{
    const QString base = baseUrl + QLatin1Char('/');
    QByteArray description;
    QString error;
    if (!Fetch(base + UPDATE_DESCRIBE_FILENAME, DescriptionSeconds, DescriptionBytes, description,
               error)) {
        return QObject::tr("下载升级描述文件失败:%1").arg(error);
    }
    const QJsonObject object = QJsonDocument::fromJson(description).object();
    const QString folder = object.value(QStringLiteral("Folder")).toString();
    if (!FolderReason(folder).isEmpty()) {
        return QObject::tr("升级描述文件内容不合法:%1").arg(QString::fromUtf8(description));
    }

    release.filesUrl = base + folder + QLatin1Char('/');
    if (!Fetch(release.filesUrl + LOCAL_MD5_FILENAME, ManifestSeconds, ManifestBytes,
               release.manifest, error)) {
        return QObject::tr("下载升级清单失败:%1").arg(error);
    }
    release.files = ParseMd5File(release.manifest);
    if (release.files.isEmpty()) {
        return QObject::tr("升级清单中没有文件");
    }
    const QString tooLarge = TooLargeReason(release.files);
    return tooLarge.isEmpty() ? UnsafePathText(release.files) : tooLarge;
}

QString UnsafePathText(const QMap<QString, tagDownloadFileInfo> &files)
{
    const QStringList paths = files.keys();
    for (const QString &path : paths) {
        const QString reason = UnsafePathReason(path);
        if (!reason.isEmpty()) {
            return QObject::tr("升级清单中的路径不安全:\"%1\", %2").arg(path, reason);
        }
    }
    const QString reason = CollisionReason(paths);
    return reason.isEmpty() ? reason : QObject::tr("升级清单中的路径不安全:%1").arg(reason);
}
