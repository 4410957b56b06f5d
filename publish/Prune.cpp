// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/Prune.h"

#include "app/FileNames.h"
#include "publish/OutputFolder.h"
#include "publish/Workspace.h"

#include <QFileInfo>
#include <QJsonArray>

#include <cstdlib>

namespace {

/// Returns why a release that is not among the newest is left alone all the same, or empty text.
QString LeaveReason(const ListedRelease &release, const OutputState &state)
{
    if (release.isAlmostAnnounced) {
        return QStringLiteral("%1 announces \"%2\"")
            .arg(UPDATE_DESCRIBE_FILENAME, state.announced.folder);
    }
    if (!release.problem.isEmpty()) {
        return release.problem;
    }
    return release.hasVersion ? QString() : QStringLiteral("its version is unknown");
}

/// The folders of the releases to remove, oldest first. Warns about those left alone.
QStringList ToRemove(const OutputState &state, int keep, Report &report)
{
    QStringList folders;
    int kept = 0;
    for (const ListedRelease &release : state.releases) {
        const bool isUsable = release.hasVersion && release.problem.isEmpty();
        if (isUsable && kept < keep) {
            ++kept;
            continue;
        }
        if (release.isAnnounced) {
            continue;
        }
        const QString reason = LeaveReason(release, state);
        if (reason.isEmpty()) {
            folders.prepend(release.folder);
        } else {
            report.warn(QStringLiteral("\"%1\" is left alone: %2.").arg(release.folder, reason));
        }
    }
    return folders;
}

} // namespace

int Prune(const QString &outputDir, int keep, Report &report)
{
    if (!QFileInfo(outputDir).isDir()) {
        return report.refuse({QStringLiteral("\"%1\" is not a folder.").arg(outputDir)});
    }
    Workspace workspace(outputDir);
    const QString taken = workspace.open();
    if (!taken.isEmpty()) {
        return report.refuse({taken});
    }
    const OutputState state = ReadOutput(outputDir);
    if (!state.announcementProblems.isEmpty()) {
        return report.refuse(
            {QStringLiteral("%1: %2; which release is announced is unknown.")
                 .arg(UPDATE_DESCRIBE_FILENAME, state.announcementProblems.constFirst())});
    }
    const QStringList folders = ToRemove(state, keep, report);
    QStringList removed;
    const QString reason = workspace.hide(folders, removed);
    report.add(QStringLiteral("removed"), QJsonArray::fromStringList(removed));
    for (const QString &folder : qAsConst(removed)) {
        report.say(QStringLiteral("Removed \"%1\".").arg(folder));
    }
    if (!reason.isEmpty()) {
        return report.refuse({reason});
    }
    if (removed.isEmpty()) {
        report.say(QStringLiteral("Nothing to remove."));
    }
    return EXIT_SUCCESS;
}
