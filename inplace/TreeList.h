// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <sys/stat.h>
#include <vector>

class FolderChain;

/// The kind of an entry.
enum class EntryKind { File, Folder, Link, Other };

/// One entry of a tree on the disk.
struct TreeEntry {
    QByteArray path; ///< relative, '/' between components, as the system takes it
    EntryKind kind = EntryKind::Other;
    struct stat about = {}; ///< of the entry itself; links are not followed
    QByteArray target;      ///< of a link
};

using TreeEntries = std::vector<TreeEntry>;

/// What a folder tells of an entry without asking for the entry itself.
struct TreeName {
    QByteArray path; ///< as in TreeEntry
    EntryKind kind = EntryKind::Other;
    ino_t inode = 0; ///< on some volumes another number than st_ino, which then says nothing
};

using TreeNames = std::vector<TreeName>;

/// Lists the names of everything below \a root, far faster than ListTree() and otherwise as it.
QString ListNames(const QByteArray &root, TreeNames &names);

/// Lists everything below \a root, sorted by the bytes of the paths, so that a folder comes before
/// what is in it. Follows no link.
///
/// Returns why that cannot be done, or empty text. Callable on any thread.
QString ListTree(const QByteArray &root, TreeEntries &entries);

/// Asks the disk for the entry at \a entry.path, and fills in the rest. Follows no link below the
/// root of \a tree. False with the reason in errno.
bool LookAt(FolderChain &tree, TreeEntry &entry);

/// Returns the entry at \a path, or null.
const TreeEntry *FindEntry(const TreeEntries &entries, const QByteArray &path);

/// The permission bits of an entry, with set-uid, set-gid and sticky.
inline int ModeOf(const TreeEntry &entry)
{
    return static_cast<int>(entry.about.st_mode & 07777U);
}
