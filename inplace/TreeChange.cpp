// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeChange.h"

#include "inplace/FileCopy.h"
#include "inplace/FolderChain.h"

#include <algorithm>

namespace {

/// Whether both trees have one and the same file under a name. Nothing can then differ, and the
/// name tells that without the file being asked.
bool IsShared(const TreeName &name, const TreeEntry &listed, const HashedFiles &hashed)
{
    return name.kind == EntryKind::File && name.inode == listed.about.st_ino &&
           hashed.isShared(name.path, listed.about);
}

bool IsSame(FolderChain &install, const TreeEntry &listed)
{
    TreeEntry now;
    now.path = listed.path;
    return LookAt(install, now) && now.kind == listed.kind &&
           now.about.st_ino == listed.about.st_ino && now.about.st_mode == listed.about.st_mode &&
           now.target == listed.target;
}

bool IsSameTree(const BuiltTree &tree)
{
    TreeNames names;
    if (!ListNames(tree.install, names).isEmpty()) {
        return false;
    }
    FolderChain install(tree.install);
    return std::equal(names.cbegin(), names.cend(), tree.there.cbegin(), tree.there.cend(),
                      [&](const TreeName &name, const TreeEntry &listed) {
                          return name.path == listed.path &&
                                 (IsShared(name, listed, tree.hashed) || IsSame(install, listed));
                      });
}

} // namespace

bool IsUnchangedSince(const BuiltTree &tree)
{
    // Where files cannot be linked, the user may have changed one since it was copied.
    const auto isUpToDate = [&tree](const PlannedEntry &entry) {
        return entry.from != PlannedEntry::From::User || entry.kind != EntryKind::File ||
               IsUpToDate(tree.root + '/' + entry.path, tree.install + '/' + entry.path);
    };
    return IsSameTree(tree) && std::all_of(tree.plan.cbegin(), tree.plan.cend(), isUpToDate);
}
