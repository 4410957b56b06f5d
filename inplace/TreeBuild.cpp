// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeBuild.h"

#include "inplace/FileCopy.h"
#include "inplace/FolderChain.h"
#include "inplace/StopSignals.h"
#include "inplace/TreeRemove.h"
#include "inplace/TreeSettle.h"

#include <QHash>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr mode_t WhileBuilding = 0700; // nobody else has access meanwhile

/// Whether something is a file that can be the one of an entry, which has one.
bool IsLike(mode_t mode, off_t size, const PlannedEntry &entry)
{
    return S_ISREG(mode) && static_cast<quint64>(size) == entry.file->size;
}

/// Whether a leftover of an interrupted run can be part of the planned tree.
bool Fits(const TreeEntry &left, const PlannedEntry *planned)
{
    if (!planned || planned->kind != left.kind) {
        return false;
    }
    if (left.kind == EntryKind::Folder) {
        return true;
    }
    return planned->file && IsLike(left.about.st_mode, left.about.st_size, *planned);
}

/// Whether an entry of the release stands in a source with the right size.
bool IsLikeIn(FolderChain &source, const PlannedEntry &entry)
{
    struct stat about {};
    const int folder = source.openParent(entry.path);
    return folder >= 0 &&
           ::fstatat(folder, NameOf(entry.path).constData(), &about, AT_SYMLINK_NOFOLLOW) == 0 &&
           IsLike(about.st_mode, about.st_size, entry);
}

/// Takes one file of the release from a source.
bool Place(FolderChain &source, FolderChain &target, const PlannedEntry &entry,
           TreeBuild::Take take)
{
    const QByteArray name = NameOf(entry.path);
    const int from = source.openParent(entry.path);
    const int to = from < 0 ? -1 : target.openParent(entry.path);
    if (to < 0) {
        return false;
    }
    return (take == TreeBuild::Take::Move &&
            ::renameat(from, name.constData(), to, name.constData()) == 0) ||
           PutEntry(from, to, name.constData());
}

QHash<QString, const ManifestFile *> ByPath(const ReleaseManifest *listed)
{
    QHash<QString, const ManifestFile *> files;
    if (listed && listed->isComplete) {
        for (const ManifestFile &file : listed->files) {
            files.insert(file.path, &file);
        }
    }
    return files;
}

} // namespace

TreeBuild::TreeBuild(QByteArray root, const TreePlan &plan, HashedFiles &hashed)
    : m_root(std::move(root)), m_plan(plan), m_hashed(hashed)
{
}

Problem TreeBuild::prepare()
{
    for (const PlannedEntry &entry : m_plan) {
        if (entry.file) {
            m_missing.push_back(&entry);
        }
    }
    Problem problem = makeRoot();
    if (!problem) {
        problem = prune();
    }
    return problem ? problem : makeFolders();
}

Problem TreeBuild::makeRoot() const
{
    struct stat about {};
    const bool isOurs = ::lstat(m_root.constData(), &about) == 0 && S_ISDIR(about.st_mode) &&
                        about.st_uid == ::geteuid();
    if ((isOurs || RemoveTree(m_root)) &&
        (::mkdir(m_root.constData(), WhileBuilding) == 0 || errno == EEXIST) &&
        ::lstat(m_root.constData(), &about) == 0 && S_ISDIR(about.st_mode) &&
        ::chmod(m_root.constData(), WhileBuilding) == 0) {
        return {};
    }
    return BuildProblem(m_root, {});
}

/// Removes what does not fit, and keeps the files of the release that are right.
Problem TreeBuild::prune()
{
    TreeEntries left;
    if (!ListTree(m_root, left).isEmpty()) { // the mode of a folder may forbid it
        Problem problem = RemoveTree(m_root) ? makeRoot() : BuildProblem(m_root, {});
        if (problem) {
            return problem;
        }
        left.clear();
    }
    HashedFiles known; // what has gone since is forgotten
    std::vector<const PlannedEntry *> unknown;
    QByteArray removed;
    for (const TreeEntry &entry : left) {
        if (!removed.isEmpty() && entry.path.startsWith(removed)) {
            continue;
        }
        const PlannedEntry *planned = FindPlanned(m_plan, entry.path);
        if (!Fits(entry, planned)) {
            if (!RemoveTree(m_root + '/' + entry.path)) {
                return BuildProblem(m_root, entry.path);
            }
            removed = entry.path + '/';
        } else if (entry.kind == EntryKind::Folder) {
            (void)::chmod((m_root + '/' + entry.path).constData(), WhileBuilding);
        } else if (m_hashed.isKnown(entry.path, entry.about)) {
            known.remember(entry.path, entry.about);
        } else {
            unknown.push_back(planned);
        }
    }
    m_hashed = known;
    return keepRight(unknown);
}

Problem TreeBuild::makeFolders() const
{
    FolderChain chain(m_root);
    for (const PlannedEntry &entry : m_plan) {
        if (entry.kind != EntryKind::Folder) {
            continue;
        }
        const int folder = chain.openParent(entry.path);
        if (folder < 0 || (::mkdirat(folder, NameOf(entry.path).constData(), WhileBuilding) != 0 &&
                           errno != EEXIST)) {
            return BuildProblem(m_root, entry.path);
        }
    }
    return {};
}

/// Places and reads files, and removes those that are not right; the others are no longer missing.
Problem TreeBuild::keepRight(const std::vector<const PlannedEntry *> &files,
                             const PlaceFileMaker &placer)
{
    const std::vector<const PlannedEntry *> wrong = WrongFiles(m_root, files, m_hashed, placer);
    if (StopSignals::isWanted()) {
        return CancelledProblem();
    }
    for (const PlannedEntry *entry : wrong) {
        if (::unlink((m_root + '/' + entry->path).constData()) != 0) {
            return BuildProblem(m_root, entry->path);
        }
    }
    const auto isThere = [this](const PlannedEntry *entry) { return m_hashed.find(entry->path); };
    m_missing.erase(std::remove_if(m_missing.begin(), m_missing.end(), isThere), m_missing.end());
    return {};
}

Problem TreeBuild::takeInstalled(const QByteArray &install, const ReleaseManifest *listed)
{
    const QHash<QString, const ManifestFile *> known = ByPath(listed);
    return put(install, Take::Share, [&known](FolderChain &, const PlannedEntry &entry) {
        const ManifestFile *there = known.value(entry.file->path);
        const bool isOther =
            there && !entry.file->sha256.isEmpty() && there->sha256 != entry.file->sha256;
        // It was listed a moment ago, so the disk is not asked again.
        return !isOther && entry.there &&
               IsLike(entry.there->about.st_mode, entry.there->about.st_size, entry);
    });
}

Problem TreeBuild::takeFrom(const QByteArray &source, Take take)
{
    return put(source, take, IsLikeIn);
}

Problem TreeBuild::put(const QByteArray &source, Take take, const MayBeThere &mayBeThere)
{
    if (FolderChain(source).open({}) < 0) {
        return {}; // it contains nothing
    }
    return keepRight(m_missing, [&]() -> PlaceFile {
        const auto from = std::make_shared<FolderChain>(source);
        return [&mayBeThere, take, from](FolderChain &tree, const PlannedEntry &entry) {
            // A real obstacle shows when the file is fetched.
            return mayBeThere(*from, entry) && Place(*from, tree, entry, take);
        };
    });
}
