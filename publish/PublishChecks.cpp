// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/PublishChecks.h"

#include "platform/VersionNumber.h"
#include "publish/VersionCheck.h"
#include "release/Formats.h"

#include <QDir>
#include <QFileInfo>

namespace {

QStringList VersionProblems(const QString &version, bool force)
{
    const QString reason = NotAVersionReason(version);
    if (!reason.isEmpty()) {
        return {QStringLiteral("\"%1\" is not a version: %2.").arg(version, reason)};
    }
    const QString loss = LossyVersionReason(version);
    if (!loss.isEmpty() && !force) {
        return {QStringLiteral("Version %1 counts as %2: %3. --force publishes it anyway.")
                    .arg(version, QString::number(NumberOf(version)), loss)};
    }
    return {};
}

/// Returns what is wrong with a text for a field of the manifest.
QStringList FieldProblems(const QString &option, const QString &text)
{
    for (const QChar character : text) {
        if (character.category() == QChar::Other_Control) {
            return {QStringLiteral("--%1 must not hold control characters.").arg(option)};
        }
    }
    return {};
}

/// The path without symbolic links, even if it does not exist yet.
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

} // namespace

int NumberOf(const QString &version)
{
    return VersionNumber(version.toLatin1().constData());
}

QStringList OptionProblems(const PublishOptions &options)
{
    QStringList problems = VersionProblems(options.version, options.force);
    if (options.minVersion != QLatin1String("0")) { // nobody is forced to update
        problems += VersionProblems(options.minVersion, options.force);
    }
    const QString url = DownloadUrlReason(options.downloadUrl);
    if (!url.isEmpty()) {
        problems.append(QStringLiteral("The download address %1.").arg(url));
    }
    problems += FieldProblems(QStringLiteral("version-string"), options.versionString);
    problems += FieldProblems(QStringLiteral("application"), options.application);
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
    return problems.isEmpty() ? FolderProblems(options) : problems;
}
