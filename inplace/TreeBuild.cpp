// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeBuild.h"

#include "inplace/EntryOwner.h"
#include "inplace/FileCopy.h"
#include "inplace/FolderChain.h"
#include "inplace/ProgramStart.h"
#include "inplace/StopSignals.h"
#include "inplace/TreeRemove.h"
#include "release/SystemCalls.h"

#include <QFile>
#include <QHash>
#include <QObject>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr mode_t WhileBuilding = 0700; // nobody else has access meanwhile

Problem Stopped()
{
    return {End::Cancelled, QObject::tr("已取消")};
}

bool IsReleaseFile(const PlannedEntry &entry)
{
    return entry.file != nullptr;
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
    return IsReleaseFile(*planned) &&
           static_cast<quint64>(left.about.st_size) == planned->file->size;
}

/// Takes one file of the release from a source, if it has the right size there.
bool Place(FolderChain &source, FolderChain &target, const PlannedEntry &entry,
           TreeBuild::Take take)
{
    const QByteArray name = NameOf(entry.path);
    struct stat about {};
    const int from = source.openParent(entry.path);
    if (from < 0 || ::fstatat(from, name.constData(), &about, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISREG(about.st_mode) || static_cast<quint64>(about.st_size) != entry.file->size) {
        return false;
    }
    const int to = target.openParent(entry.path);
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
    std::vector<const PlannedEntry *> there;
    Problem problem = makeRoot();
    if (!problem) {
        problem = prune(there);
    }
    if (!problem) {
        problem = makeFolders();
    }
    if (problem) {
        return problem;
    }
    for (const PlannedEntry &entry : m_plan) {
        if (IsReleaseFile(entry)) {
            m_missing.push_back(&entry);
        }
    }
    return keepRight(there);
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
    return failure({});
}

/// Removes what does not fit, and collects the remaining files of the release.
Problem TreeBuild::prune(std::vector<const PlannedEntry *> &there) const
{
    TreeEntries left;
    if (!ListTree(m_root, left).isEmpty()) { // the mode of a folder may forbid it
        const Problem problem = RemoveTree(m_root) ? makeRoot() : failure({});
        if (problem) {
            return problem;
        }
    }
    QByteArray removed;
    for (const TreeEntry &entry : left) {
        if (!removed.isEmpty() && entry.path.startsWith(removed)) {
            continue;
        }
        const PlannedEntry *planned = FindPlanned(m_plan, entry.path);
        if (!Fits(entry, planned)) {
            if (!RemoveTree(m_root + '/' + entry.path)) {
                return failure(entry.path);
            }
            removed = entry.path + '/';
        } else if (entry.kind == EntryKind::Folder) {
            (void)::chmod((m_root + '/' + entry.path).constData(), WhileBuilding);
        } else {
            there.push_back(planned);
        }
    }
    return {};
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
            return failure(entry.path);
        }
    }
    return {};
}

/// Removes the placed files that are not right; the others are no longer missing.
Problem TreeBuild::keepRight(const std::vector<const PlannedEntry *> &placed)
{
    const std::vector<const PlannedEntry *> wrong = WrongFiles(m_root, placed, m_hashed);
    if (StopSignals::isWanted()) {
        return Stopped();
    }
    for (const PlannedEntry *entry : wrong) {
        if (::unlink((m_root + '/' + entry->path).constData()) != 0) {
            return failure(entry->path);
        }
    }
    // All three are in the order of the plan.
    std::vector<const PlannedEntry *> right;
    std::set_difference(placed.cbegin(), placed.cend(), wrong.cbegin(), wrong.cend(),
                        std::back_inserter(right));
    std::vector<const PlannedEntry *> missing;
    std::set_difference(m_missing.cbegin(), m_missing.cend(), right.cbegin(), right.cend(),
                        std::back_inserter(missing));
    m_missing.swap(missing);
    return {};
}

Problem TreeBuild::takeFrom(const QByteArray &source, Take take, const ReleaseManifest *listed)
{
    FolderChain from(source);
    FolderChain to(m_root);
    if (from.open({}) < 0) {
        return {}; // it contains nothing
    }
    const QHash<QString, const ManifestFile *> known = ByPath(listed);
    std::vector<const PlannedEntry *> placed;
    for (const PlannedEntry *entry : m_missing) {
        if (StopSignals::isWanted()) {
            return Stopped();
        }
        const ManifestFile *there = known.value(entry->file->path);
        const bool isOther =
            there && !entry->file->sha256.isEmpty() && there->sha256 != entry->file->sha256;
        if (isOther || !Place(from, to, *entry, take)) {
            continue; // a real obstacle shows when the file is fetched
        }
        placed.push_back(entry);
    }
    return keepRight(placed);
}

Problem TreeBuild::finish(const QByteArray &users)
{
    const Problem problem = putOthers(users);
    return problem ? problem : settleFolders(users);
}

/// Adds links and the user's entries, and settles everything except folders.
Problem TreeBuild::putOthers(const QByteArray &users) const
{
    FolderChain from(users);
    FolderChain to(m_root);
    for (const PlannedEntry &entry : m_plan) {
        if (entry.kind == EntryKind::Folder) {
            continue;
        }
        if (StopSignals::isWanted()) {
            return Stopped();
        }
        const QByteArray name = NameOf(entry.path);
        const int folder = to.openParent(entry.path);
        if (folder < 0) {
            return failure(entry.path);
        }
        if (entry.kind == EntryKind::Link) {
            if (::symlinkat(entry.target.constData(), folder, name.constData()) != 0) {
                return failure(entry.path);
            }
        } else if (!IsReleaseFile(entry)) {
            const int source = from.openParent(entry.path);
            // The user may have removed it meanwhile.
            if (source < 0 || !PutEntry(source, folder, name.constData())) {
                if (errno == ENOENT) {
                    continue;
                }
                return failure(entry.path);
            }
        } else if (entry.mode < 0) {
            MakeProgramExecutable(folder, name.constData());
        }
        if (!SettleEntry(folder, name.constData(), entry)) {
            return failure(entry.path);
        }
    }
    return {};
}

Problem TreeBuild::settleFolders(const QByteArray &users) const
{
    for (auto entry = m_plan.crbegin(); entry != m_plan.crend(); ++entry) { // the deepest first
        if (entry->kind == EntryKind::Folder &&
            !SettleEntry(AT_FDCWD, (m_root + '/' + entry->path).constData(), *entry)) {
            return failure(entry->path);
        }
    }
    struct stat about {};
    PlannedEntry root;
    if (::stat(users.constData(), &about) != 0) {
        return failure({});
    }
    root.kind = EntryKind::Folder;
    root.mode = static_cast<int>(about.st_mode & 07777U);
    root.user = about.st_uid;
    root.group = about.st_gid;
    return SettleEntry(AT_FDCWD, m_root.constData(), root) ? Problem() : failure({});
}

Problem TreeBuild::failure(const QByteArray &path) const
{
    const QString reason = SystemError();
    const QString where = QFile::decodeName(path.isEmpty() ? m_root : m_root + '/' + path);
    return {errno == ENOSPC || errno == EDQUOT ? End::NoRoom : End::Storage,
            QObject::tr("%1无法建立:%2").arg(where, reason)};
}
