// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Requirements.h"

#include "release/Formats.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QObject>
#include <QStorageInfo>

namespace {

constexpr quint64 SpareBytes = quint64{64} << 20U;

QString Canonical(const QDir &folder)
{
    const QString path = QFileInfo(folder.absolutePath()).canonicalFilePath();
    return path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/'); // the root has one
}

QString VolumeReason(const QStorageInfo &volume, quint64 bytes)
{
    const quint64 needed = 2 * bytes + SpareBytes;
    const qint64 available = volume.bytesAvailable();
    if (available < 0 || static_cast<quint64>(available) >= needed) {
        return {};
    }
    return QObject::tr("%1空间不足(需要%2字节，可用%3字节)")
        .arg(volume.rootPath(), QString::number(needed), QString::number(available));
}

} // namespace

QString FoldersReason(const QDir &staging, const QDir &install)
{
    if (!install.exists()) {
        return QObject::tr("安装目录%1不存在").arg(install.absolutePath());
    }
    if (Canonical(install).contains(
            QLatin1Char('\n'))) { // which would end the journal's first line
        return QObject::tr("安装目录%1的名称不能含换行符").arg(install.absolutePath());
    }
    if (!staging.mkpath(QStringLiteral("."))) {
        return QObject::tr("创建目录%1失败").arg(staging.absolutePath());
    }
    if (Canonical(staging).startsWith(Canonical(install)) ||
        Canonical(install).startsWith(Canonical(staging))) {
        return QObject::tr("下载目录%1与安装目录%2不能重叠")
            .arg(staging.absolutePath(), install.absolutePath());
    }
    return {};
}

void RemoveLinks(const QDir &staging)
{
    QDirIterator entries(staging.absolutePath(),
                         QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        if (entries.fileInfo().isSymLink()) {
            (void)QFile::remove(path); // one that stays is the worker's to fail at
        }
    }
}

QString LinksReason(const QList<Replacement> &replacements, const QDir &install)
{
    for (const Replacement &replacement : replacements) {
        const QFileInfo target(install.absoluteFilePath(replacement.file.path));
        if (target.isSymLink() && !target.exists()) {
            return QObject::tr("%1是失效的链接，无法更新").arg(target.absoluteFilePath());
        }
    }
    return {};
}

quint64 BytesToFetch(const QList<Replacement> &replacements, const QDir &staging)
{
    quint64 bytes = 0;
    for (const Replacement &replacement : replacements) {
        const QFileInfo staged(staging.absoluteFilePath(replacement.file.path));
        const quint64 size = FileSize(replacement.file);
        const quint64 there = staged.isFile() ? static_cast<quint64>(staged.size()) : 0;
        bytes += size - qMin(size, there); // what is there is kept or written over
    }
    return bytes;
}

QString RoomReason(const QList<Replacement> &replacements, const QDir &staging, const QDir &install)
{
    const QStorageInfo stagingVolume(staging.absolutePath());
    const QStorageInfo installVolume(install.absolutePath());
    QString reason = VolumeReason(stagingVolume, BytesToFetch(replacements, staging));
    if (!reason.isEmpty() || stagingVolume == installVolume) {
        return reason;
    }
    quint64 bytes = 0;
    for (const Replacement &replacement : replacements) {
        bytes += FileSize(replacement.file);
    }
    return VolumeReason(installVolume, bytes);
}
