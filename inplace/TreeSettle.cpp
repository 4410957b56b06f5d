// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeSettle.h"

#include "inplace/EntryOwner.h"
#include "inplace/FileCopy.h"
#include "inplace/FolderChain.h"
#include "inplace/ProgramStart.h"
#include "inplace/StopSignals.h"
#include "release/SystemCalls.h"

#include <QFile>
#include <QObject>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Adds a link or an entry of the user. False with the reason in errno.
///
/// \a isThere  false if the user has removed it meanwhile.
bool PutOther(FolderChain &users, int folder, const PlannedEntry &entry, bool &isThere)
{
    const QByteArray name = NameOf(entry.path);
    isThere = true;
    if (entry.kind == EntryKind::Link) {
        return ::symlinkat(entry.target.constData(), folder, name.constData()) == 0;
    }
    const int source = users.openParent(entry.path);
    isThere = source >= 0 && PutEntry(source, folder, name.constData());
    return isThere || errno == ENOENT;
}

/// Adds links and the user's entries, and settles everything except folders.
Problem PutOthers(const QByteArray &root, const TreePlan &plan, const QByteArray &users,
                  const HashedFiles &hashed)
{
    FolderChain from(users);
    FolderChain to(root);
    for (const PlannedEntry &entry : plan) {
        const struct stat *known = entry.file ? hashed.find(entry.path) : nullptr;
        if (entry.kind == EntryKind::Folder ||
            (known && entry.mode >= 0 && NeedsNothing(*known, entry))) {
            continue;
        }
        if (StopSignals::isWanted()) {
            return CancelledProblem();
        }
        const QByteArray name = NameOf(entry.path);
        const int folder = to.openParent(entry.path);
        if (folder < 0) {
            return BuildProblem(root, entry.path);
        }
        bool isThere = true;
        if (!entry.file && !PutOther(from, folder, entry, isThere)) {
            return BuildProblem(root, entry.path);
        }
        if (entry.file && entry.mode < 0) {
            MakeProgramExecutable(folder, name.constData());
        }
        if (isThere && !SettleEntry(folder, name.constData(), entry)) {
            return BuildProblem(root, entry.path);
        }
    }
    return {};
}

Problem SettleFolders(const QByteArray &root, const TreePlan &plan, const QByteArray &users)
{
    for (auto entry = plan.crbegin(); entry != plan.crend(); ++entry) { // the deepest first
        if (entry->kind == EntryKind::Folder &&
            !SettleEntry(AT_FDCWD, (root + '/' + entry->path).constData(), *entry)) {
            return BuildProblem(root, entry->path);
        }
    }
    struct stat about {};
    if (::stat(users.constData(), &about) != 0) {
        return BuildProblem(root, {});
    }
    PlannedEntry top;
    top.kind = EntryKind::Folder;
    top.mode = static_cast<int>(about.st_mode & 07777U);
    top.user = about.st_uid;
    top.group = about.st_gid;
    return SettleEntry(AT_FDCWD, root.constData(), top) ? Problem() : BuildProblem(root, {});
}

} // namespace

Problem SettleTree(const QByteArray &root, const TreePlan &plan, const QByteArray &users,
                   const HashedFiles &hashed)
{
    const Problem problem = PutOthers(root, plan, users, hashed);
    return problem ? problem : SettleFolders(root, plan, users);
}

Problem BuildProblem(const QByteArray &root, const QByteArray &path)
{
    const int error = errno;
    const QString reason = SystemError();
    const QString where = QFile::decodeName(path.isEmpty() ? root : root + '/' + path);
    return {error == ENOSPC || error == EDQUOT ? End::NoRoom : End::Storage,
            QObject::tr("%1无法建立:%2").arg(where, reason)};
}
