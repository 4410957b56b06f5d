// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/PublishReport.h"

#include "publish/DryRun.h"

#include <QDir>

void DescribeRelease(const PublishOptions &options, const ReleaseManifest &manifest, Report &report)
{
    quint64 size = 0;
    for (const ManifestFile &file : manifest.files) {
        size += file.size;
    }
    const int files = static_cast<int>(manifest.files.size());
    const int links = static_cast<int>(manifest.links.size());
    const bool isSigned = !options.signCommand.isEmpty();
    report.add(QStringLiteral("version"), manifest.version);
    report.add(QStringLiteral("versionString"), manifest.versionString);
    report.add(QStringLiteral("folder"), manifest.folder);
    report.add(QStringLiteral("application"), manifest.application);
    report.add(QStringLiteral("files"), files);
    report.add(QStringLiteral("links"), links);
    report.add(QStringLiteral("bytes"), static_cast<double>(size));
    report.add(QStringLiteral("signed"), isSigned);
    report.add(QStringLiteral("published"), !options.dryRun);
    if (options.dryRun) {
        DescribeDifference(options.outputDir, manifest, report);
    }
    QStringList what{QStringLiteral("%1 files").arg(files)};
    if (links > 0) {
        what.append(QStringLiteral("%1 links").arg(links));
    }
    what.append(QStringLiteral("%1 bytes").arg(size));
    if (isSigned) {
        what.append(QStringLiteral("signed"));
    }
    report.say(
        QStringLiteral("%1 version %2 (%3): %4, in \"%5\".")
            .arg(options.dryRun ? QStringLiteral("Would publish") : QStringLiteral("Published"),
                 options.version, QString::number(manifest.version),
                 what.join(QStringLiteral(", ")),
                 QDir(options.outputDir).filePath(options.folder)));
}
