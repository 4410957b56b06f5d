// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/FetchStep.h"

#include "release/PublishedRelease.h"

#include <QObject>

#include <utility>

namespace {

using Kind = ReleaseFault::Kind;

/// Turns a fault of a published release into a text for the user.
Problem ProblemOf(const ReleaseFault &fault, const QString &base)
{
    const QString reason = QStringLiteral("%1/%2: %3").arg(base, fault.subject, fault.detail);
    switch (fault.kind) {
    case Kind::Missing:
    case Kind::Network:
        return {End::Network, QObject::tr("下载升级信息失败:%1").arg(reason)};
    case Kind::Description:
    case Kind::Mismatch:
        return {End::Description, QObject::tr("升级描述文件内容不合法:%1").arg(reason)};
    case Kind::Manifest:
        return {End::Manifest, QObject::tr("升级清单内容不合法:%1").arg(reason)};
    case Kind::Signature:
        return {End::Signature, QObject::tr("升级清单的签名不对:%1").arg(reason)};
    case Kind::None:
        break;
    }
    return {};
}

/// The page for the user's browser; a signed one if signatures are required.
QString PageOf(const PublishedRelease &release)
{
    const bool isTold = !release.manifest.page.isEmpty() || release.isSigned;
    const QString page = isTold ? release.manifest.page : release.description.downloadUrl;
    return DownloadUrlReason(page).isEmpty() ? page : QString();
}

ReleaseFault Read(ReleaseSource &source, const UpdateOptions &options, const QByteArray &known,
                  Candidate &candidate)
{
    PublishedRelease release;
    ReleaseFault fault = ReadPublishedRelease(source, options.keys, release, known);
    if (!fault.isNone()) {
        return fault;
    }
    const ReleaseManifest &manifest = release.manifest;
    const PublishedDescription &description = release.description;
    candidate.description = DescriptionContent(description);
    candidate.folder = description.folder;
    candidate.content = release.manifestContent;
    candidate.signature = release.signature;
    candidate.version = manifest.isComplete ? manifest.version : description.version;
    candidate.versionString =
        manifest.isComplete ? manifest.versionString : description.versionString;
    candidate.minVersion = manifest.isComplete ? manifest.minVersion : description.minVersion;
    candidate.page = PageOf(release);
    candidate.manifest = std::move(release.manifest);
    return {};
}

} // namespace

Problem FetchCandidate(const UpdateOptions &options, const QByteArray &known, Candidate &candidate)
{
    WebSource source(options.baseUrl);
    return ProblemOf(Read(source, options, known, candidate), options.baseUrl);
}

Problem ReadCandidate(const QString &folder, const UpdateOptions &options, const QByteArray &known,
                      Candidate &candidate)
{
    FolderSource source(folder);
    const ReleaseFault fault = Read(source, options, known, candidate);
    if (fault.kind == Kind::Missing) {
        return {End::NothingReady, QObject::tr("没有已下载的更新")};
    }
    if (fault.kind == Kind::Network) { // it is there and cannot be read
        return {
            End::Storage,
            QObject::tr("无法读取已下载的更新:%1/%2: %3").arg(folder, fault.subject, fault.detail)};
    }
    return ProblemOf(fault, folder);
}

Problem CandidateProblem(const Candidate &candidate, const UpdateOptions &options,
                         const InstalledRelease &installed)
{
    const QStringList wanted = WantedApplications(options.application, installed);
    const QString &told = candidate.manifest.application;
    const bool isDemanded = !options.keys.isEmpty() || !options.application.isEmpty();
    if (!wanted.isEmpty() && !wanted.contains(told) && (isDemanded || !told.isEmpty())) {
        return {
            End::Application,
            QObject::tr("升级包属于其他应用(%1，应为%2)").arg(told, wanted.join(QLatin1Char(' ')))};
    }
    return {};
}
