// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tools/inplace_update/Release.h"

#include "app/FileNames.h"
#include "tools/ReleasePaths.h"
#include "tools/publish_update/Formats.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>

namespace {

using Headers = QMap<QByteArray, QByteArray>;

constexpr qint32 DescriptionSeconds = 15;
constexpr qint32 ManifestSeconds = 60;

/// Whether a body is shorter than its answer told: the fetch itself looks at the status only.
bool IsCutOff(const Headers &headers, const QByteArray &body)
{
    bool isNumber = false;
    for (auto header = headers.cbegin(); header != headers.cend(); ++header) {
        if (header.key().compare("content-length", Qt::CaseInsensitive) == 0) {
            return header.value().trimmed().toLongLong(&isNumber) != body.size() && isNumber;
        }
    }
    return false;
}

bool Fetch(const QString &url, qint32 seconds, QByteArray &body, QString &error)
{
    QNetworkAccessManager manager;
    Headers headers;
    // A body that the network layer unpacks has another length than its answer tells.
    const Headers request{{"Accept-Encoding", "identity"}};
    if (!GetFileByUrl(manager, QUrl(url), body, error, seconds, request, "GET", {}, &headers)) {
        return false;
    }
    if (IsCutOff(headers, body)) {
        error = QObject::tr("内容不完整");
        return false;
    }
    return true;
}

} // namespace

QString FetchRelease(const QString &baseUrl, Release &release)
{
    const QString base = baseUrl + QLatin1Char('/');
    QByteArray description;
    QString error;
    if (!Fetch(base + UPDATE_DESCRIBE_FILENAME, DescriptionSeconds, description, error)) {
        return QObject::tr("下载升级描述文件失败:%1").arg(error);
    }
    const QJsonObject object = QJsonDocument::fromJson(description).object();
    const QString folder = object.value(QStringLiteral("Folder")).toString();
    if (!FolderReason(folder).isEmpty()) {
        return QObject::tr("升级描述文件内容不合法:%1").arg(QString::fromUtf8(description));
    }

    release.filesUrl = base + folder + QLatin1Char('/');
    if (!Fetch(release.filesUrl + LOCAL_MD5_FILENAME, ManifestSeconds, release.manifest, error)) {
        return QObject::tr("下载升级清单失败:%1").arg(error);
    }
    release.files = ParseMd5File(release.manifest);
    if (release.files.isEmpty()) {
        return QObject::tr("升级清单中没有文件");
    }
    return UnsafePathText(release.files);
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
