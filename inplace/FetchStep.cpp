// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/FetchStep.h"

#include "app/FileNames.h"
#include "inplace/WatchedManager.h"
#include "release/Formats.h"

#include <QObject>
#include <QUrl>

#include <functional>

namespace {

constexpr qint32 DescriptionSeconds = 15;
constexpr qint32 ManifestSeconds = 60;
constexpr qint64 DescriptionBytes = qint64{1} << 20;

/// Reads a published file of at most so many bytes.
using Reader =
    std::function<QString(const QString &name, qint32 seconds, qint64 limit, QByteArray &body)>;

QString Fetch(const QString &url, qint32 seconds, qint64 limit, QByteArray &body)
{
    WatchedManager manager(limit);
    QString error;
    // A body that the network layer unpacks may be far longer than what came.
    const QMap<QByteArray, QByteArray> request{{"Accept-Encoding", "identity"}};
    if (GetFileByUrl(manager, QUrl(url), body, error, seconds, request, "GET", {}, nullptr)) {
        error = manager.problem();
    }
    return error.isEmpty() ? error : QStringLiteral("%1(%2)").arg(error, url);
}

Problem Read(const Reader &reader, const UpdateOptions &options, Candidate &candidate)
{
    QString error = reader(UPDATE_DESCRIBE_FILENAME, DescriptionSeconds, DescriptionBytes,
                           candidate.description);
    if (!error.isEmpty()) {
        return {End::Network, QObject::tr("下载升级描述文件失败:%1").arg(error)};
    }
    PublishedDescription description;
    (void)DescriptionProblems(candidate.description, description);
    if (!FolderReason(description.folder).isEmpty()) {
        return {
            End::Description,
            QObject::tr("升级描述文件内容不合法:%1").arg(QString::fromUtf8(candidate.description))};
    }
    candidate.folder = description.folder;
    const QString folder = description.folder + QLatin1Char('/');
    error =
        reader(folder + LOCAL_MD5_FILENAME, ManifestSeconds, TooLargeManifest, candidate.content);
    if (!error.isEmpty()) {
        return {End::Network, QObject::tr("下载升级清单失败:%1").arg(error)};
    }
    if (!options.keys.isEmpty()) {
        error = reader(folder + SIGNATURE_FILENAME, DescriptionSeconds, TooLargeSignature,
                       candidate.signature);
        if (!error.isEmpty()) {
            return {End::Signature, QObject::tr("下载升级清单的签名失败:%1").arg(error)};
        }
        error = SignatureReason(candidate.content, candidate.signature, options.keys);
        if (!error.isEmpty()) {
            return {End::Signature, QObject::tr("升级清单的签名不对:%1").arg(error)};
        }
    }
    error = ReadManifest(candidate.content, candidate.manifest);
    if (!error.isEmpty()) {
        return {End::Manifest, QObject::tr("升级清单内容不合法:%1").arg(error)};
    }
    const ReleaseManifest &manifest = candidate.manifest;
    if (manifest.isComplete &&
        (manifest.folder != description.folder || manifest.version != description.version)) {
        return {End::Description, QObject::tr("升级描述文件与升级清单不一致")};
    }
    if (!manifest.isComplete && !options.keys.isEmpty()) {
        return {End::Signature, QObject::tr("升级清单没有版本信息")};
    }
    candidate.version = manifest.isComplete ? manifest.version : description.version;
    candidate.versionString =
        manifest.isComplete ? manifest.versionString : description.versionString;
    candidate.minVersion = manifest.isComplete ? manifest.minVersion : description.minVersion;
    candidate.page = manifest.isComplete ? manifest.page : description.downloadUrl;
    if (!DownloadUrlReason(candidate.page).isEmpty()) {
        candidate.page.clear();
    }
    return {};
}

} // namespace

Problem FetchCandidate(const UpdateOptions &options, Candidate &candidate)
{
    const Reader reader = [&options](const QString &name, qint32 seconds, qint64 limit,
                                     QByteArray &body) {
        return Fetch(options.baseUrl + QLatin1Char('/') + name, seconds, limit, body);
    };
    return Read(reader, options, candidate);
}

Problem ReadCandidate(const QString &folder, const UpdateOptions &options, Candidate &candidate)
{
    const Reader reader = [&folder](const QString &name, qint32, qint64 limit, QByteArray &body) {
        body = ReadSmall(folder + QLatin1Char('/') + name, limit);
        return body.isEmpty() ? QStringLiteral("it is missing") : QString();
    };
    Problem problem = Read(reader, options, candidate);
    if (problem.end == End::Network) {
        problem = {End::NothingReady, QObject::tr("没有已下载的更新")};
    }
    return problem;
}

Problem CandidateProblem(const Candidate &candidate, const UpdateOptions &options,
                         const InstalledRelease &installed)
{
    const QString wanted = WantedApplication(options.application, installed);
    const QString &told = candidate.manifest.application;
    const bool isDemanded = !options.keys.isEmpty() || !options.application.isEmpty();
    if (!wanted.isEmpty() && told != wanted && (isDemanded || !told.isEmpty())) {
        return {End::Application, QObject::tr("升级包属于其他应用(%1，应为%2)").arg(told, wanted)};
    }
    for (const ManifestFile &file : candidate.manifest.files) {
        if (file.size >= static_cast<quint64>(TooLargeSize)) {
            return {End::Manifest, QObject::tr("升级清单中的文件过大:\"%1\" (%2字节)")
                                       .arg(file.path, QString::number(file.size))};
        }
    }
    return {};
}
