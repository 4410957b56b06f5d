// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/Verify.h"

#include "app/FileNames.h"
#include "publish/FolderCheck.h"
#include "publish/WebCheck.h"
#include "release/PublishedRelease.h"

#include <QDir>
#include <QFileInfo>
#include <QNetworkProxyFactory>

#include <cstdlib>
#include <memory>

namespace {

/// The source to read from: a web server or a folder.
std::unique_ptr<ReleaseSource> Source(const QString &baseUrl, const VerifyOptions &options)
{
    if (baseUrl.isEmpty()) {
        return std::make_unique<FolderSource>(options.outputDir);
    }
    auto source = std::make_unique<WebSource>(baseUrl);
    source->setSeconds(options.timeouts.descriptionSeconds, options.timeouts.fileSeconds);
    return source;
}

QStringList Named(const QString &name, const QStringList &problems)
{
    QStringList named;
    for (const QString &problem : problems) {
        named.append(QStringLiteral("%1: %2.").arg(name, problem));
    }
    return named;
}

QStringList FileProblems(const QString &baseUrl, const VerifyOptions &options,
                         const PublishedRelease &release, Report &report)
{
    const QString folder = release.description.folder;
    if (!baseUrl.isEmpty()) {
        return WebProblems(baseUrl, folder, release.manifest, options.timeouts.fileSeconds);
    }
    const FolderState state =
        CheckFolder(QDir(options.outputDir).filePath(folder), release.manifest);
    for (const QString &extra : state.extras) {
        report.warn(extra);
    }
    return state.problems;
}

void Describe(const PublishedRelease &release, Report &report)
{
    const PublishedDescription &description = release.description;
    const int files = static_cast<int>(release.manifest.files.size());
    report.add(QStringLiteral("version"), description.version);
    report.add(QStringLiteral("versionString"), description.versionString);
    report.add(QStringLiteral("folder"), description.folder);
    report.add(QStringLiteral("files"), files);
    report.add(QStringLiteral("signed"), release.isSigned);
    report.say(QStringLiteral("All right: version %1 (%2) in \"%3\", %4 files%5.")
                   .arg(description.versionString, QString::number(description.version),
                        description.folder, QString::number(files),
                        release.isSigned ? QStringLiteral(", signed") : QString()));
}

} // namespace

int Verify(const VerifyOptions &options, Report &report)
{
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    if (options.baseUrl.isEmpty() && !QFileInfo(options.outputDir).isDir()) {
        return report.refuse({QStringLiteral("\"%1\" is not a folder.").arg(options.outputDir)});
    }
    const QString baseUrl = QString::fromLatin1(options.baseUrl.toEncoded());
    const std::unique_ptr<ReleaseSource> source = Source(baseUrl, options);
    PublishedRelease release;
    const ReleaseFault fault = ReadPublishedRelease(*source, options.publicKeys, release);
    if (!fault.isNone()) {
        return report.refuse({QStringLiteral("%1: %2.").arg(fault.subject, fault.detail)});
    }
    QStringList problems = Named(UPDATE_DESCRIBE_FILENAME, release.descriptionProblems);
    if (!release.manifest.isComplete) { // reading it does not report skipped lines
        problems += Named(release.description.folder + QLatin1Char('/') + LOCAL_MD5_FILENAME,
                          ManifestProblems(release.manifestContent));
    }
    problems += FileProblems(baseUrl, options, release, report);
    if (problems.isEmpty() && options.strict && !report.warnings().isEmpty()) {
        problems.append(QStringLiteral("Warnings are failures with --strict."));
    }
    if (!problems.isEmpty()) {
        return report.refuse(problems);
    }
    Describe(release, report);
    return EXIT_SUCCESS;
}
