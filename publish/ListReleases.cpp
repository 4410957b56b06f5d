// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ListReleases.h"

#include "app/FileNames.h"
#include "publish/OutputFolder.h"

#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <cstdlib>

namespace {

QStringList Cells(const ListedRelease &release)
{
    const bool isRead = release.problem.isEmpty();
    const QString unknown = QStringLiteral("?");
    return {release.isAnnounced ? QStringLiteral("*") : QString(),
            release.folder,
            release.hasVersion ? release.version : unknown,
            release.hasVersion ? QString::number(release.number) : unknown,
            isRead ? QString::number(release.manifest.files.size()) : unknown,
            isRead ? QString::number(release.bytes()) : unknown,
            release.isSigned ? QStringLiteral("yes") : QStringLiteral("no")};
}

/// The rows as lines with aligned columns; numbers are aligned to the right.
QString Table(const QVector<QStringList> &rows)
{
    const auto isNumber = [](int column) { return column >= 3 && column <= 5; };
    QVector<int> widths(rows.constFirst().size());
    for (const QStringList &row : rows) {
        for (int column = 0; column < widths.size(); ++column) {
            widths[column] = qMax(widths.at(column), static_cast<int>(row.at(column).size()));
        }
    }
    QStringList lines;
    for (const QStringList &row : rows) {
        QStringList cells;
        for (int column = 0; column < widths.size(); ++column) {
            const int width = widths.at(column);
            cells.append(isNumber(column) ? row.at(column).rightJustified(width)
                                          : row.at(column).leftJustified(width));
        }
        QString line = cells.join(QStringLiteral("  "));
        while (line.endsWith(QLatin1Char(' '))) {
            line.chop(1);
        }
        lines.append(line);
    }
    return lines.join(QLatin1Char('\n'));
}

QJsonObject Object(const ListedRelease &release)
{
    QJsonObject object{{QStringLiteral("folder"), release.folder},
                       {QStringLiteral("signed"), release.isSigned},
                       {QStringLiteral("announced"), release.isAnnounced}};
    if (release.hasVersion) {
        object.insert(QStringLiteral("versionString"), release.version);
        object.insert(QStringLiteral("version"), release.number);
    }
    if (release.problem.isEmpty()) {
        object.insert(QStringLiteral("files"), static_cast<int>(release.manifest.files.size()));
        object.insert(QStringLiteral("bytes"), static_cast<double>(release.bytes()));
    }
    return object;
}

bool IsThere(const OutputState &state)
{
    return std::any_of(state.releases.begin(), state.releases.end(),
                       [](const ListedRelease &release) { return release.isAnnounced; });
}

/// Says what there is instead of the announced release.
QString AlmostThere(const OutputState &state)
{
    const auto almost =
        std::find_if(state.releases.begin(), state.releases.end(),
                     [](const ListedRelease &release) { return release.isAlmostAnnounced; });
    return almost == state.releases.end()
               ? QStringLiteral("which is not there")
               : QStringLiteral("and the folder is \"%1\"").arg(almost->folder);
}

QStringList Problems(const OutputState &state)
{
    QStringList problems;
    for (const QString &problem : state.announcementProblems) {
        problems.append(QStringLiteral("%1: %2.").arg(UPDATE_DESCRIBE_FILENAME, problem));
    }
    for (const ListedRelease &release : state.releases) {
        const QString name = release.folder + QLatin1Char('/') + LOCAL_MD5_FILENAME;
        if (!release.problem.isEmpty()) {
            problems.append(QStringLiteral("%1: %2.").arg(name, release.problem));
        }
    }
    if (state.hasAnnouncement && state.announcementProblems.isEmpty() && !IsThere(state)) {
        problems.append(
            QStringLiteral("%1: it announces \"%2\", %3.")
                .arg(UPDATE_DESCRIBE_FILENAME, state.announced.folder, AlmostThere(state)));
    }
    return problems;
}

} // namespace

int ListReleases(const QString &outputDir, Report &report)
{
    if (!QFileInfo(outputDir).isDir()) {
        return report.refuse({QStringLiteral("\"%1\" is not a folder.").arg(outputDir)});
    }
    const OutputState state = ReadOutput(outputDir);
    QVector<QStringList> rows{{QString(), QStringLiteral("folder"), QStringLiteral("version"),
                               QStringLiteral("number"), QStringLiteral("files"),
                               QStringLiteral("bytes"), QStringLiteral("signed")}};
    QJsonArray releases;
    for (const ListedRelease &release : state.releases) {
        rows.append(Cells(release));
        releases.append(Object(release));
    }
    report.add(QStringLiteral("releases"), releases);
    report.say(state.releases.empty()
                   ? QStringLiteral("There is no release in \"%1\".").arg(outputDir)
                   : Table(rows));
    const QStringList problems = Problems(state);
    return problems.isEmpty() ? EXIT_SUCCESS : report.refuse(problems);
}
