// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/Announce.h"

#include "app/FileNames.h"
#include "publish/FolderCheck.h"
#include "publish/OutputFolder.h"
#include "publish/Workspace.h"
#include "release/ReleaseSource.h"

#include <QDir>
#include <QFileInfo>

#include <cstdlib>

namespace {

/// Returns why the release's signature is not accepted, or empty text.
QString UnsignedReason(const AnnounceOptions &options, const QByteArray &manifest)
{
    if (options.publicKeys.isEmpty()) {
        return {};
    }
    QByteArray signature;
    const ReleaseFault fault = FolderSource(options.outputDir)
                                   .read(options.folder + QLatin1Char('/') + SIGNATURE_FILENAME,
                                         TooLargeSignature, signature);
    return fault.isNone() ? SignatureReason(manifest, signature, options.publicKeys) : fault.detail;
}

/// Returns why the release cannot be announced. Oddities only cause warnings.
QStringList ReleaseProblems(const AnnounceOptions &options, ReleaseManifest &manifest,
                            Report &report)
{
    const auto named = [&options](const QString &name, const QString &reason) {
        return QStringList{QStringLiteral("%1/%2: %3.").arg(options.folder, name, reason)};
    };
    QByteArray content;
    QString reason = ReadManifestFile(options.outputDir, options.folder, content, manifest);
    if (!reason.isEmpty()) {
        return named(LOCAL_MD5_FILENAME, reason);
    }
    if (!manifest.isComplete) {
        return named(LOCAL_MD5_FILENAME,
                     QStringLiteral("it does not say which version it is; publish the release "
                                    "again under another folder"));
    }
    if (manifest.folder != options.folder) {
        return named(LOCAL_MD5_FILENAME,
                     QStringLiteral("it is the manifest of \"%1\"").arg(manifest.folder));
    }
    reason = UnsignedReason(options, content);
    if (!reason.isEmpty()) {
        return named(SIGNATURE_FILENAME, reason);
    }
    const FolderState state =
        CheckFolder(QDir(options.outputDir).filePath(options.folder), manifest);
    for (const QString &extra : state.extras) {
        report.warn(extra);
    }
    return state.problems;
}

PublishedDescription Description(const ReleaseManifest &manifest)
{
    return {manifest.version, manifest.versionString, manifest.folder, manifest.minVersion,
            manifest.page};
}

} // namespace

int Announce(const AnnounceOptions &options, Report &report)
{
    const QString folderReason = FolderReason(options.folder);
    if (!folderReason.isEmpty()) {
        return report.refuse({QStringLiteral("\"%1\" cannot be a release's folder: %2.")
                                  .arg(options.folder, folderReason)});
    }
    if (!QFileInfo(QDir(options.outputDir).filePath(options.folder)).isDir()) {
        return report.refuse({QStringLiteral("There is no release \"%1\" in \"%2\".")
                                  .arg(options.folder, options.outputDir)});
    }
    Workspace workspace(options.outputDir);
    const QString taken = workspace.open();
    if (!taken.isEmpty()) {
        return report.refuse({taken});
    }
    ReleaseManifest manifest;
    const QStringList problems = ReleaseProblems(options, manifest, report);
    if (!problems.isEmpty()) {
        return report.refuse(problems);
    }
    if (options.strict && !report.warnings().isEmpty()) {
        return report.refuse({QStringLiteral("Warnings are failures with --strict.")});
    }
    const QString reason = workspace.announce(DescriptionContent(Description(manifest)));
    if (!reason.isEmpty()) {
        return report.refuse({reason});
    }
    report.add(QStringLiteral("folder"), manifest.folder);
    report.add(QStringLiteral("version"), manifest.version);
    report.add(QStringLiteral("versionString"), manifest.versionString);
    report.say(QStringLiteral("Announced version %1 (%2) in \"%3\".")
                   .arg(manifest.versionString, QString::number(manifest.version),
                        QDir(options.outputDir).filePath(manifest.folder)));
    return EXIT_SUCCESS;
}
