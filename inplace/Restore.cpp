// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Restore.h"

#include "inplace/Modes.h"

#include <QFile>
#include <QFileInfo>
#include <QObject>

#include <cstdio>

namespace {

using Before = Replacement::Before;

/// Renames over whatever file has the name: at no time is there neither the one nor the other.
bool RenameOver(const QString &from, const QString &to)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (std::rename(source.constData(), target.constData()) == 0) {
        return true;
    }
    // A folder cannot take the place of a file at one stroke.
    return QFileInfo(from).isDir() && QFile::remove(to) &&
           std::rename(source.constData(), target.constData()) == 0;
}

/// Whether the ".old" copy is what was there before this replacement, not before an earlier one.
bool KeptIsBefore(const Replacement &replacement, const QDir &install)
{
    const QString kept = KeptPath(replacement, install);
    return replacement.before == Before::File ? FileMd5(kept) == replacement.oldMd5
                                              : QFileInfo::exists(kept);
}

void RemoveMadeFolders(const Replacement &replacement, const QDir &install)
{
    QString folder = replacement.file.path;
    while (folder != replacement.madeFolder && folder.contains(QLatin1Char('/'))) {
        folder.truncate(folder.lastIndexOf(QLatin1Char('/')));
        if (install.exists(folder) && !install.rmdir(folder)) {
            return; // it still holds something
        }
    }
}

/// Returns why what was there before cannot be put in its place again, or empty text.
QString TakeBack(const Replacement &replacement, const QDir &install)
{
    const QString path = install.absoluteFilePath(replacement.file.path);
    const bool done = replacement.before == Before::Nothing
                          ? QFile::remove(path)
                          : KeptIsBefore(replacement, install) &&
                                RenameOver(KeptPath(replacement, install), path);
    return done ? QString() : QObject::tr("文件%1无法恢复").arg(path);
}

/// Takes back what an interrupted run broke off, if that can still be told from what others did.
QString TakeBackBroken(const Replacement &replacement, const QDir &install)
{
    if (replacement.before == Before::Nothing) {
        (void)TakeBack(replacement, install); // what stays is moved aside by the next update
        return {};
    }
    return KeptIsBefore(replacement, install) ? TakeBack(replacement, install) : QString();
}

} // namespace

QString TakeBackUnfinished(const QList<Replacement> &replacements, const QDir &install)
{
    for (const Replacement &replacement : replacements) {
        switch (StandingOf(replacement, install)) {
        case Standing::Before:
            break;
        case Standing::New:
            (void)SettleMode(replacement, install); // as well as it goes; the content counts
            break;
        case Standing::Nothing:
        case Standing::Strange:
            if (QString problem = TakeBackBroken(replacement, install); !problem.isEmpty()) {
                return problem;
            }
            break;
        }
    }
    return {};
}

QString TakeBackAll(const QList<Replacement> &replacements, const QDir &install, bool &changed)
{
    changed = false;
    QString problem;
    for (const Replacement &replacement : replacements) {
        if (StandingOf(replacement, install) != Standing::Before) {
            changed = true;
            const QString text = TakeBack(replacement, install);
            problem = problem.isEmpty() ? text : problem; // the others are taken back all the same
        }
        if (!replacement.madeFolder.isEmpty()) {
            RemoveMadeFolders(replacement, install);
        }
    }
    return problem;
}
