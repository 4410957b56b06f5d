// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Preconditions.h"

#include "inplace/VolumeCalls.h"
#include "release/SystemCalls.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QObject>

#include <cerrno>
#include <climits>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

constexpr quint64 SpareBytes = quint64{64} << 20U;
constexpr unsigned long long FolderBytes = 4096; // a guess of the size of a name and its inode

bool Look(const QString &path, struct stat &about)
{
    return ::lstat(QFile::encodeName(path).constData(), &about) == 0;
}

/// Whether the sticky bit of the parent folder keeps this user from renaming the installation.
bool IsStuck(const struct stat &parent, const struct stat &install)
{
    const uid_t user = ::geteuid();
    return (parent.st_mode & S_ISVTX) != 0 && user != 0 && user != parent.st_uid &&
           user != install.st_uid;
}

/// Whether the system cannot take a name or a path of this length.
bool IsTooLong(const QString &folder, const QString &path)
{
    const QByteArray bytes = QFile::encodeName(path);
    const long most = ::pathconf(QFile::encodeName(folder).constData(), _PC_NAME_MAX);
    const int name = bytes.size() - bytes.lastIndexOf('/') - 1;
    return bytes.size() >= PATH_MAX || (most > 0 && name > most);
}

QString StagingOwnerReason(const QString &path)
{
    struct stat about {};
    if (!Look(path, about)) {
        return {};
    }
    const bool isSafe = about.st_uid == 0 && (about.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    return isSafe ? QString() : QObject::tr("目录%1属于其他用户或可被其他用户写入").arg(path);
}

Problem VolumeProblem(const QString &folder, quint64 needed)
{
    struct statvfs volume {};
    if (::statvfs(QFile::encodeName(folder).constData(), &volume) != 0) {
        return {};
    }
    const quint64 available = quint64{volume.f_bavail} * volume.f_frsize;
    if (available >= needed) {
        return {};
    }
    return {End::NoRoom, QObject::tr("%1空间不足(需要%2字节，可用%3字节)")
                             .arg(folder, QString::number(needed), QString::number(available))};
}

} // namespace

Problem InstallProblem(const Layout &layout)
{
    struct stat install {};
    struct stat parent {};
    if (!Look(layout.install, install) || !S_ISDIR(install.st_mode) ||
        !Look(layout.parent, parent)) {
        return {End::Folders, QObject::tr("安装目录%1不存在").arg(layout.install)};
    }
    if (install.st_dev != parent.st_dev ||
        IsMountPoint(QFile::encodeName(layout.install).constData())) {
        return {End::MountPoint, QObject::tr("安装目录%1是一个卷，无法替换").arg(layout.install)};
    }
    if (layout.install.contains(QLatin1String("/AppTranslocation/"))) {
        return {End::ReadOnly,
                QObject::tr("系统从临时位置%1运行程序，请先把它移动到\"应用程序\"文件夹")
                    .arg(layout.install)};
    }
    struct statvfs volume {};
    if (::statvfs(QFile::encodeName(layout.parent).constData(), &volume) == 0 &&
        (volume.f_flag & ST_RDONLY) != 0) {
        return {End::ReadOnly, QObject::tr("%1所在的卷是只读的").arg(layout.install)};
    }
    if (::access(QFile::encodeName(layout.parent).constData(), W_OK | X_OK) != 0 ||
        IsStuck(parent, install)) {
        return {End::NotWritable, QObject::tr("目录%1无法写入").arg(layout.parent)};
    }
    // The longest of the names that are only needed after the exchange.
    for (const QString &path :
         {layout.previous, layout.state + QStringLiteral("/previous.minisig#part"),
          SignaturePath(layout.manifestPath(true)) + QStringLiteral("#part")}) {
        if (IsTooLong(layout.parent, path)) {
            return {End::Names, QObject::tr("文件名%1过长").arg(path)};
        }
    }
    return {};
}

Problem MakeStaging(const Layout &layout)
{
    if (!QDir().mkpath(layout.staging)) {
        return {End::NotWritable, QObject::tr("创建目录%1失败").arg(layout.staging)};
    }
    if (::geteuid() == 0) {
        for (const QString &folder : {layout.staging, layout.fetch, layout.state}) {
            const QString reason = StagingOwnerReason(folder);
            if (!reason.isEmpty()) {
                return {End::StagingOwner, reason};
            }
        }
    }
    return {};
}

Problem InnerVolumeProblem(const Layout &layout, const TreeEntries &there)
{
    const QByteArray install = QFile::encodeName(layout.install);
    struct stat root {};
    (void)Look(layout.install, root); // it was just there
    for (const TreeEntry &entry : there) {
        if (entry.kind == EntryKind::Folder &&
            (entry.about.st_dev != root.st_dev ||
             IsMountPoint((install + '/' + entry.path).constData()))) {
            return {
                End::MountPoint,
                QObject::tr("安装目录中的%1是一个卷，无法替换").arg(QFile::decodeName(entry.path))};
        }
    }
    return {};
}

Problem RoomProblem(const Layout &layout, const std::vector<const PlannedEntry *> &missing)
{
    quint64 toStore = 0;
    quint64 toFetch = 0;
    for (const PlannedEntry *entry : missing) {
        struct stat staged {};
        toStore += entry->file->size + FolderBytes;
        const bool isThere = Look(layout.fetch + QLatin1Char('/') + entry->file->path, staged);
        const quint64 there = isThere ? static_cast<quint64>(staged.st_size) : 0;
        toFetch += entry->file->size - qMin(there, entry->file->size);
    }
    struct stat parent {};
    struct stat staging {};
    const bool isOne = Look(layout.parent, parent) && Look(layout.staging, staging) &&
                       parent.st_dev == staging.st_dev;
    // On one volume a file is moved and needs its space once.
    const Problem problem = VolumeProblem(layout.parent, (isOne ? toFetch : toStore) + SpareBytes);
    return problem || isOne ? problem : VolumeProblem(layout.staging, toFetch + SpareBytes);
}
