// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Takeover.h"

#include "inplace/TreeHash.h"
#include "inplace/TreeRemove.h"
#include "inplace/VolumeCalls.h"
#include "release/DurableFile.h"
#include "release/SystemCalls.h"

#include <QFile>
#include <QObject>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Finds out what number a folder has; 0 if it is not there. False with the reason in errno if
/// nobody can say.
bool FindNode(const QString &folder, ino_t &node)
{
    struct stat about {};
    const bool isThere = ::lstat(QFile::encodeName(folder).constData(), &about) == 0;
    node = isThere && S_ISDIR(about.st_mode) ? about.st_ino : 0;
    return isThere || errno == ENOENT || errno == ENOTDIR;
}

/// The numbers of the three trees.
struct Nodes {
    ino_t install = 0;
    ino_t next = 0;
    ino_t previous = 0;
};

Problem FindNodes(const Layout &layout, Nodes &nodes)
{
    if (FindNode(layout.install, nodes.install) && FindNode(layout.next, nodes.next) &&
        FindNode(layout.previous, nodes.previous)) {
        return {};
    }
    const QString reason = SystemError();
    return {End::Storage, QObject::tr("%1无法读取:%2").arg(layout.parent, reason)};
}

bool IsThere(const QString &path)
{
    struct stat about {};
    return ::lstat(QFile::encodeName(path).constData(), &about) == 0;
}

Problem ExchangeFailure(const Layout &layout)
{
    return {End::Exchange, QObject::tr("替换%1失败:%2").arg(layout.install, SystemError())};
}

/// Moves a tree out of the way, to be removed.
bool Doom(const Layout &layout, const QString &tree)
{
    return !IsThere(tree) ||
           (RemoveTree(QFile::encodeName(layout.doomed)) && Move(tree, layout.doomed));
}

/// For volumes without an exchange. Between the two renames there is no installation.
bool RenameTwice(const Layout &layout)
{
    if (!Doom(layout, layout.previous) || !Move(layout.install, layout.previous)) {
        return false;
    }
    if (Move(layout.next, layout.install)) {
        return true;
    }
    const int error = errno;
    (void)Move(layout.previous, layout.install); // if this fails, the next run restores it
    errno = error;
    return false;
}

/// Whether the installation has all files of a manifest; reads them all.
bool HoldsRelease(const Layout &layout, const QByteArray &manifest)
{
    ReleaseManifest release;
    TreeEntries there;
    const QByteArray install = QFile::encodeName(layout.install);
    if (manifest.isEmpty() || !ReadManifest(manifest, release).isEmpty() ||
        !ListTree(install, there).isEmpty()) {
        return false;
    }
    const PlanSources sources{release, &release, there, {}, true, {}};
    const TreePlan plan = PlanTree(sources);
    std::vector<const PlannedEntry *> files;
    for (const PlannedEntry &entry : plan) {
        if (entry.file) {
            files.push_back(&entry);
        }
    }
    HashedFiles hashed;
    return WrongFiles(install, files, hashed).empty();
}

/// Writes the installed manifest, if the tree does not contain it.
QString PutManifest(const Layout &layout, const PendingExchange &pending)
{
    const bool isBundle = IsBundle(layout.install);
    if (layout.isManifestInside(isBundle)) {
        return {};
    }
    const QString path = layout.manifestPath(isBundle);
    const auto put = [](const QString &where, const QByteArray &content) {
        if (!content.isEmpty()) {
            return WriteDurably(where, where + QStringLiteral("#part"), content);
        }
        return QFile::exists(where) && !QFile::remove(where)
                   ? QObject::tr("删除文件%1失败").arg(where)
                   : QString();
    };
    // A manifest is valid without its signature, so the signature comes last.
    const QString reason = put(path, pending.manifest);
    return reason.isEmpty() ? put(SignaturePath(path), pending.signature) : reason;
}

/// Restores an installation that was moved away for an exchange by two renames.
Problem BringBack(const Layout &layout, const std::optional<PendingExchange> &pending)
{
    Nodes nodes;
    Problem problem = FindNodes(layout, nodes);
    if (problem) {
        return problem;
    }
    const bool isReady = pending && nodes.next == pending->node;
    const QString &tree = isReady ? layout.next : layout.previous;
    if ((isReady ? nodes.next : nodes.previous) == 0) {
        return {End::Folders, QObject::tr("安装目录%1不存在").arg(layout.install)};
    }
    return Move(tree, layout.install) && SyncFolder(layout.parent) ? Problem()
                                                                   : ExchangeFailure(layout);
}

} // namespace

Problem PrepareTakeover(const Layout &layout, const Takeover &takeover)
{
    Nodes nodes;
    Problem problem = FindNodes(layout, nodes);
    if (problem) {
        return problem;
    }
    PendingExchange pending;
    pending.node = nodes.next;
    pending.formerNode = nodes.install;
    pending.manifest = takeover.manifest;
    pending.signature = takeover.signature;
    pending.former = takeover.former;
    pending.formerSignature = takeover.formerSignature;
    pending.keepPrevious = takeover.keepPrevious;
    const QString reason = StateFolder(layout).writePending(pending);
    return reason.isEmpty() ? Problem() : Problem{End::Storage, reason};
}

Problem ExchangeTrees(const Layout &layout, bool &changed)
{
    const bool exchanged = ExchangeNames(QFile::encodeName(layout.install).constData(),
                                         QFile::encodeName(layout.next).constData());
    if (!exchanged && !(IsExchangeUnknown(errno) && RenameTwice(layout))) {
        return ExchangeFailure(layout);
    }
    changed = true;
    if (!SyncFolder(layout.parent)) {
        return {End::Storage, QObject::tr("%1无法写入磁盘:%2").arg(layout.parent, SystemError())};
    }
    return {};
}

Problem FinishTakeover(const Layout &layout)
{
    const StateFolder state(layout);
    const std::optional<PendingExchange> pending = state.pending();
    if (!pending) {
        return {};
    }
    Nodes nodes;
    Problem problem = FindNodes(layout, nodes);
    if (problem) {
        return problem;
    }
    const bool isFormerHere = nodes.next == pending->formerNode;
    const bool wasRenamed = nodes.previous == pending->formerNode;
    bool isTidy = wasRenamed || Doom(layout, layout.previous);
    if (isTidy && isFormerHere) {
        isTidy = pending->keepPrevious ? Move(layout.next, layout.previous)
                                       : RemoveTree(QFile::encodeName(layout.next));
    }
    if (isTidy && wasRenamed && !pending->keepPrevious) {
        isTidy = Doom(layout, layout.previous);
    }
    if (!isTidy) {
        return {End::Storage, QObject::tr("%1无法整理:%2").arg(layout.parent, SystemError())};
    }
    QString reason = PutManifest(layout, *pending);
    if (reason.isEmpty()) {
        reason = state.writePrevious(pending->former, pending->formerSignature);
    }
    if (reason.isEmpty() && !SyncFolder(layout.parent)) {
        reason = QObject::tr("%1无法写入磁盘:%2").arg(layout.parent, SystemError());
    }
    if (reason.isEmpty()) {
        state.removeReady();
        (void)RemoveTree(QFile::encodeName(layout.fetch)); // nothing in it is needed now
        reason = state.removePending();
    }
    (void)RemoveTree(QFile::encodeName(layout.doomed)); // the next run removes what stays
    return reason.isEmpty() ? Problem() : Problem{End::Storage, reason};
}

Problem MendTakeover(const Layout &layout, bool &happened)
{
    const StateFolder state(layout);
    const std::optional<PendingExchange> pending = state.pending();
    if (!IsThere(layout.install)) {
        Problem problem = BringBack(layout, pending);
        if (problem) {
            return problem;
        }
    }
    (void)RemoveTree(QFile::encodeName(layout.probe));
    if (!pending) {
        (void)RemoveTree(QFile::encodeName(layout.doomed));
        return {};
    }
    Nodes nodes;
    Problem problem = FindNodes(layout, nodes);
    if (problem) {
        return problem;
    }
    const bool isBefore = nodes.next == pending->node || nodes.install == pending->formerNode;
    happened = nodes.install == pending->node ||
               // A different volume, or one that renumbers its folders.
               (!isBefore && HoldsRelease(layout, pending->manifest));
    if (happened) {
        return FinishTakeover(layout);
    }
    (void)RemoveTree(QFile::encodeName(layout.doomed));
    const QString reason = state.removePending();
    return reason.isEmpty() ? Problem() : Problem{End::Storage, reason};
}
