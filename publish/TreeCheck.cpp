// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/TreeCheck.h"

#include "publish/LinkCheck.h"
#include "release/ReleasePaths.h"

#include <QMap>

namespace {

const QChar Separator = QLatin1Char('/');
const QString KeptSuffix = QStringLiteral(".old");

QString Parent(const QString &path)
{
    return path.left(path.lastIndexOf(Separator) + 1);
}

/// Equal for entries of a folder that are the same to a volume that ignores letter case and
/// normalisation.
QString Key(const QString &path)
{
    const QString parent = Parent(path);
    return parent + FoldedPath(path.mid(parent.size()));
}

} // namespace

QStringList TreeProblems(const QVector<ReleaseFile> &files, const std::vector<ManifestLink> &links,
                         const QStringList &folders)
{
    QMap<QString, QString> byKey; // the first path for each key
    QStringList problems;
    const auto add = [&byKey, &problems](const QString &path) {
        const QString taken = path.contains(Separator) ? QString() : TakenNameReason(path);
        if (!taken.isEmpty()) {
            problems.append(taken);
        }
        const QString known = byKey.value(Key(path));
        if (known.isEmpty()) {
            byKey.insert(Key(path), path);
            return;
        }
        problems.append(
            QStringLiteral("\"%1\" and \"%2\" differ only in letter case or Unicode normalisation")
                .arg(qMin(known, path), qMax(known, path)));
    };
    for (const QString &folder : folders) {
        add(folder);
    }
    LinkCheck check;
    for (const ReleaseFile &file : files) {
        add(file.path);
        check.addFile(file.path);
    }
    for (const ManifestLink &link : links) {
        add(link.path);
        check.addLink(link.path, link.target);
    }
    for (const QString &folder : folders) {
        check.addFolder(folder);
    }
    for (const ReleaseFile &file : files) {
        const QString taken = byKey.value(Key(file.path + KeptSuffix));
        if (!taken.isEmpty()) {
            problems.append(QStringLiteral("\"%1\" takes the name reserved for the old \"%2\"")
                                .arg(taken, file.path));
        }
    }
    for (const ManifestLink &link : links) {
        const QString reason = check.reason(link.path);
        if (!reason.isEmpty()) {
            problems.append(
                QStringLiteral("the link \"%1\" -> \"%2\" %3").arg(link.path, link.target, reason));
        }
    }
    return problems;
}
