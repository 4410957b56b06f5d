// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/DryRun.h"

#include "publish/OutputFolder.h"
#include "publish/ReleaseDifference.h"

#include <QJsonArray>

#include <algorithm>
#include <array>

namespace {

using Kind = PathDifference::Kind;
constexpr std::array<Kind, 4> Kinds{Kind::Added, Kind::Changed, Kind::Removed, Kind::Unchanged};
constexpr int WordWidth = 10;

void Add(const ReleaseDifference &difference, Report &report)
{
    for (const Kind kind : Kinds) {
        QJsonArray paths;
        for (const PathDifference &path : difference.paths) {
            if (path.kind == kind) {
                paths.append(path.path);
            }
        }
        report.add(KindName(kind), paths);
    }
    report.add(QStringLiteral("bytesToFetch"), static_cast<double>(difference.bytesToFetch));
}

QString Counts(const ReleaseDifference &difference)
{
    QStringList counts;
    for (const Kind kind : Kinds) {
        counts.append(
            QStringLiteral("%1 %2").arg(QString::number(difference.count(kind)), KindName(kind)));
    }
    return counts.join(QStringLiteral(", "));
}

} // namespace

void DescribeDifference(const QString &outputDir, const ReleaseManifest &next, Report &report)
{
    const OutputState state = ReadOutput(outputDir);
    const auto newest = std::find_if(state.releases.begin(), state.releases.end(),
                                     [](const ListedRelease &release) {
                                         return release.hasVersion && release.problem.isEmpty();
                                     });
    const bool isFirst = newest == state.releases.end();
    const ReleaseDifference difference =
        CompareReleases(isFirst ? ReleaseManifest() : newest->manifest, next);
    report.add(QStringLiteral("comparedWith"), isFirst ? QJsonValue() : QJsonValue(newest->folder));
    Add(difference, report);
    for (const PathDifference &path : difference.paths) {
        report.say(KindName(path.kind).leftJustified(WordWidth) + path.path);
    }
    report.say(Counts(difference));
    report.say(isFirst ? QStringLiteral("No release is there yet: users fetch all %1 bytes.")
                             .arg(difference.bytesToFetch)
                       : QStringLiteral("A user with version %1 (\"%2\") fetches %3 bytes.")
                             .arg(newest->version, newest->folder,
                                  QString::number(difference.bytesToFetch)));
}
