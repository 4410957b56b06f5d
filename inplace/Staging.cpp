// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Staging.h"

#include "inplace/FolderChain.h"
#include "inplace/TreeRemove.h"

#include <QFile>
#include <QObject>
#include <QSet>

#include <cerrno>
#include <sys/stat.h>

namespace {

constexpr mode_t OwnerOnly = 0700;

Problem Failure(const QString &path)
{
    return {End::Storage, QObject::tr("路径%1被占用，无法删除!").arg(path)};
}

/// Whether a staged entry is usable.
bool IsWanted(const TreeEntry &entry, const QSet<QByteArray> &files,
              const QSet<QByteArray> &folders)
{
    return entry.kind == EntryKind::Folder
               ? folders.contains(entry.path)
               : entry.kind == EntryKind::File && files.contains(entry.path);
}

} // namespace

Problem PruneStaging(const QString &folder, const std::vector<const PlannedEntry *> &missing)
{
    const QByteArray root = QFile::encodeName(folder);
    struct stat about {};
    if ((::lstat(root.constData(), &about) == 0 && !S_ISDIR(about.st_mode) && !RemoveTree(root)) ||
        (::mkdir(root.constData(), OwnerOnly) != 0 && errno != EEXIST)) {
        return Failure(folder);
    }
    QSet<QByteArray> files;
    QSet<QByteArray> folders;
    for (const PlannedEntry *entry : missing) {
        files.insert(entry->path);
        for (QByteArray above = FolderOf(entry->path); !above.isEmpty() && !folders.contains(above);
             above = FolderOf(above)) {
            folders.insert(above);
        }
    }
    TreeEntries staged;
    const QString reason = ListTree(root, staged);
    if (!reason.isEmpty()) {
        return {End::Storage, reason};
    }
    QByteArray removed;
    for (const TreeEntry &entry : staged) {
        if ((!removed.isEmpty() && entry.path.startsWith(removed)) ||
            IsWanted(entry, files, folders)) {
            continue;
        }
        if (!RemoveTree(root + '/' + entry.path)) {
            return Failure(QFile::decodeName(root + '/' + entry.path));
        }
        removed = entry.path + '/';
    }
    return {};
}
