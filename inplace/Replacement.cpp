// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Replacement.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

namespace {

bool NameIsTaken(const QFileInfo &info)
{
    return info.exists() || info.isSymLink(); // also by a link to nothing
}

/// Returns the topmost folder above \a path that does not exist, relative to \a install.
QString TopmostMissingFolder(const QString &path, const QDir &install)
{
    for (int end = path.indexOf(QLatin1Char('/')); end >= 0;
         end = path.indexOf(QLatin1Char('/'), end + 1)) {
        if (!install.exists(path.left(end))) {
            return path.left(end);
        }
    }
    return {};
}

} // namespace

QByteArray FileMd5(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Md5);
    // Piece by piece: an installed file may be larger than a byte array can be.
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? Md5Text(hash.result())
                                                                 : QByteArray();
}

QList<Replacement> FindReplacements(const QMap<QString, tagDownloadFileInfo> &files,
                                    const QString &localManifest, const QDir &install)
{
    QList<Replacement> replacements;
    const QMap<QString, tagDownloadFileInfo> toFetch = CheckMd5(files, localManifest, install);
    for (const tagDownloadFileInfo &file : toFetch) {
        Replacement replacement;
        replacement.file = file;
        const QFileInfo target(install.absoluteFilePath(file.path));
        if (!NameIsTaken(target)) {
            replacement.madeFolder = TopmostMissingFolder(file.path, install);
        } else {
            replacement.oldMd5 = FileMd5(target.absoluteFilePath());
            replacement.before = replacement.oldMd5.isEmpty() ? Replacement::Before::Other
                                                              : Replacement::Before::File;
        }
        if (replacement.oldMd5 != file.md5) {
            replacements.append(replacement);
        }
    }
    return replacements;
}

Standing StandingOf(const Replacement &replacement, const QDir &install)
{
    using Before = Replacement::Before;
    const QFileInfo target(install.absoluteFilePath(replacement.file.path));
    if (!NameIsTaken(target)) {
        return replacement.before == Before::Nothing ? Standing::Before : Standing::Nothing;
    }
    const QByteArray md5 = FileMd5(target.absoluteFilePath());
    if (md5 == replacement.file.md5) {
        return Standing::New;
    }
    const bool asBefore = replacement.before == Before::File
                              ? md5 == replacement.oldMd5
                              : replacement.before == Before::Other && md5.isEmpty();
    return asBefore ? Standing::Before : Standing::Strange;
}

QString KeptPath(const Replacement &replacement, const QDir &install)
{
    return install.absoluteFilePath(replacement.file.path + QLatin1String(".old"));
}
