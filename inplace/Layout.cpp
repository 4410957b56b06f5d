// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Layout.h"

#include "app/FileNames.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QObject>

#include <sys/stat.h>

namespace {

const QString SignatureSuffix = QStringLiteral(".minisig");

/// Returns the path without links, as far as it exists.
QString Resolved(const QString &path)
{
    const QFileInfo info(QDir::cleanPath(QFileInfo(path).absoluteFilePath()));
    if (info.exists() || info.isRoot()) {
        return info.canonicalFilePath();
    }
    const QString folder = Resolved(info.path());
    return (folder == QLatin1String("/") ? QString() : folder) + QLatin1Char('/') + info.fileName();
}

bool IsSame(const QString &one, const QString &other)
{
    struct stat first {};
    struct stat second {};
    if (::stat(QFile::encodeName(one).constData(), &first) != 0 ||
        ::stat(QFile::encodeName(other).constData(), &second) != 0) {
        return one == other;
    }
    return first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

/// Whether \a path is the \a folder or is below it. Asks the volume, which may accept several
/// spellings of one name.
bool IsWithin(QString path, const QString &folder)
{
    while (!IsSame(path, folder)) {
        const QString above = QFileInfo(path).path();
        if (above == path) {
            return false;
        }
        path = above;
    }
    return true;
}

Problem OverlapProblem(const Layout &layout)
{
    for (const QString &tree : {layout.install, layout.next, layout.previous, layout.doomed}) {
        if (IsWithin(layout.staging, tree) || IsWithin(tree, layout.staging)) {
            return {
                End::Folders,
                QObject::tr("下载目录%1与安装目录%2不能重叠").arg(layout.staging, layout.install)};
        }
    }
    if (!layout.ownManifest.isEmpty() && IsWithin(layout.ownManifest, layout.install) &&
        layout.ownManifest != layout.install + QLatin1Char('/') + LOCAL_MD5_FILENAME) {
        return {End::Folders, QObject::tr("清单%1不能放在安装目录中").arg(layout.ownManifest)};
    }
    return {};
}

} // namespace

QString Layout::manifestPath(bool isBundle) const
{
    if (!ownManifest.isEmpty()) {
        return ownManifest;
    }
    return (isBundle ? staging : install) + QLatin1Char('/') + LOCAL_MD5_FILENAME;
}

bool Layout::isManifestInside(bool isBundle) const
{
    return manifestPath(isBundle).startsWith(install + QLatin1Char('/'));
}

QString SignaturePath(const QString &manifest)
{
    return manifest + SignatureSuffix;
}

bool IsBundle(const QString &folder)
{
    return QFileInfo(folder + QStringLiteral("/Contents/Info.plist")).isFile();
}

Problem FindFolders(const UpdateOptions &options, Layout &layout)
{
    layout.install = Resolved(options.install);
    const QFileInfo install(layout.install);
    if (install.isRoot() || install.fileName().isEmpty()) {
        return {End::MountPoint, QObject::tr("安装目录不能是根目录")};
    }
    layout.parent = install.path();
    const QString hidden =
        (layout.parent.endsWith(QLatin1Char('/')) ? QString() : QStringLiteral("/")) +
        QLatin1Char('.') + install.fileName();
    layout.next = layout.parent + hidden + QStringLiteral("#new");
    layout.previous = layout.parent + hidden + QStringLiteral("#previous");
    layout.doomed = layout.parent + hidden + QStringLiteral("#old");
    layout.probe = layout.parent + hidden + QStringLiteral("#probe");
    layout.lockName = QLatin1Char('.') + install.fileName() + QStringLiteral("#lock");

    layout.staging = Resolved(options.staging);
    layout.fetch = layout.staging + QStringLiteral("/inplace_update#fetch");
    layout.state = layout.staging + QStringLiteral("/inplace_update#state");
    if (!options.manifest.isEmpty()) {
        layout.ownManifest = Resolved(options.manifest);
    }
    if (install.exists() && !install.isDir()) {
        return {End::Folders, QObject::tr("%1不是目录").arg(layout.install)};
    }
    const QFileInfo staging(layout.staging);
    if (staging.exists() && !staging.isDir()) {
        return {End::Folders, QObject::tr("%1不是目录").arg(layout.staging)};
    }
    return OverlapProblem(layout);
}
