// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/Publish.h"

#include "app/FileNames.h"
#include "platform/VersionNumber.h"
#include "publish/ReleaseCopy.h"
#include "publish/ReleaseScan.h"
#include "publish/VersionCheck.h"
#include "publish/Workspace.h"
#include "release/Formats.h"
#include "release/Messages.h"
#include "release/SystemCalls.h"

#include <QFileInfo>

#include <cstdlib>
#include <unistd.h>

namespace {

int Number(const QString &version)
{
    return VersionNumber(version.toLatin1().constData());
}

QStringList VersionProblems(const QString &version, bool force)
{
    const QString reason = NotAVersionReason(version);
    if (!reason.isEmpty()) {
        return {QStringLiteral("\"%1\" is not a version: %2.").arg(version, reason)};
    }
    const QString loss = LossyVersionReason(version);
    if (!loss.isEmpty() && !force) {
        return {QStringLiteral("Version %1 counts as %2: %3. --force publishes it all the same.")
                    .arg(version, QString::number(Number(version)), loss)};
    }
    return {};
}

QStringList OptionProblems(const PublishOptions &options)
{
    QStringList problems = VersionProblems(options.version, options.force) +
                           VersionProblems(options.minVersion, options.force);
    const QString url = DownloadUrlReason(options.downloadUrl);
    if (!url.isEmpty()) {
        problems.append(QStringLiteral("The download address %1.").arg(url));
    }
    const QString folder = FolderReason(options.folder);
    if (!folder.isEmpty()) {
        problems.append(QStringLiteral("\"%1\" cannot be the release's folder: %2.")
                            .arg(options.folder, folder));
    }
    const QFileInfo release(options.releaseDir);
    const QFileInfo output(options.outputDir);
    if (!release.isDir()) {
        problems.append(QStringLiteral("\"%1\" is not a folder.").arg(options.releaseDir));
    }
    if (output.exists() && !output.isDir()) {
        problems.append(QStringLiteral("\"%1\" is not a folder.").arg(options.outputDir));
    }
    return problems;
}

/// The path without links, also of what does not exist yet.
QString Canonical(const QString &path)
{
    const QFileInfo info(path);
    if (info.exists() || info.isRoot()) {
        return info.canonicalFilePath();
    }
    const QFileInfo clean(QDir::cleanPath(info.absoluteFilePath()));
    return Canonical(clean.path()) + QLatin1Char('/') + clean.fileName();
}

bool IsInside(const QString &path, const QString &folder)
{
    const auto closed = [](const QString &text) {
        const QChar separator = QLatin1Char('/');
        return text.endsWith(separator) ? text : text + separator; // the root ends with it
    };
    return closed(path).startsWith(closed(folder));
}

/// Why the two folders cannot go together.
QStringList FolderProblems(const PublishOptions &options)
{
    const QString release = Canonical(options.releaseDir);
    const QString output = Canonical(options.outputDir);
    if (IsInside(output, release)) {
        return {QStringLiteral("\"%1\" lies in the release itself.").arg(options.outputDir)};
    }
    if (IsInside(release, QDir(output).filePath(WorkspacePrefix))) {
        return {QStringLiteral("\"%1\" lies in the folder \"%2\", which is emptied first.")
                    .arg(options.releaseDir, WorkspacePrefix)};
    }
    return {};
}

PublishedDescription Description(const PublishOptions &options)
{
    return {Number(options.version), options.versionString, options.folder,
            Number(options.minVersion), options.downloadUrl};
}

QString WriteManifest(const QString &folder, const std::vector<tagDownloadFileInfo> &records)
{
    QFile file(QDir(folder).absoluteFilePath(LOCAL_MD5_FILENAME));
    const QByteArray content = ManifestContent(records);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered) ||
        !WriteAll(file, content.constData(), content.size())) {
        return QStringLiteral("\"%1\" cannot be written: %2.")
            .arg(file.fileName(), file.errorString());
    }
    if (::fsync(file.handle()) != 0) {
        return QStringLiteral("\"%1\" cannot be written: %2.").arg(file.fileName(), SystemError());
    }
    return {};
}

/// Copies and shows the release. Returns why that failed, or empty text.
QString PublishFiles(const PublishOptions &options, const QVector<ReleaseFile> &files)
{
    Workspace workspace(options.outputDir);
    QString reason = workspace.open();
    std::vector<tagDownloadFileInfo> records;
    if (reason.isEmpty()) {
        reason = workspace.nameReason(options.folder);
    }
    if (reason.isEmpty()) {
        reason = CopyRelease(files, options.releaseDir, workspace.releaseDir(), records);
    }
    if (reason.isEmpty()) {
        reason = WriteManifest(workspace.releaseDir(), records);
    }
    if (reason.isEmpty()) {
        reason = workspace.publish(options.folder, DescriptionContent(Description(options)));
    }
    return reason;
}

} // namespace

int Publish(const PublishOptions &options)
{
    QStringList problems = OptionProblems(options);
    if (problems.isEmpty()) {
        problems = FolderProblems(options);
    }
    if (!problems.isEmpty()) {
        return Refuse(problems);
    }
    const ReleaseContents contents = ScanRelease(options.releaseDir);
    for (const QString &link : contents.links) {
        Warn(QStringLiteral("symbolic link not published: %1").arg(link));
    }
    if (Number(options.minVersion) > Number(options.version)) {
        Warn(QStringLiteral("the minimum version is above the version: every host is forced to "
                            "update."));
    }
    if (!contents.problems.isEmpty()) {
        return Refuse(contents.problems);
    }
    const QString reason = PublishFiles(options, contents.files);
    if (!reason.isEmpty()) {
        return Refuse({reason});
    }
    qint64 size = 0;
    for (const ReleaseFile &file : contents.files) {
        size += file.size;
    }
    Say(QStringLiteral("Published version %1 (%2): %3 files, %4 bytes, in \"%5\".")
            .arg(options.version, QString::number(Number(options.version)),
                 QString::number(contents.files.size()), QString::number(size),
                 QDir(options.outputDir).filePath(options.folder)));
    return EXIT_SUCCESS;
}
