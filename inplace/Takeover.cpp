// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Takeover.h"

#include "inplace/TreeExchange.h"
#include "inplace/TreeHash.h"
#include "inplace/TreeRemove.h"
#include "release/DurableFile.h"
#include "release/SystemCalls.h"

#include <QFile>
#include <QObject>

namespace {

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

} // namespace

Problem PrepareTakeover(const Layout &layout, const Takeover &takeover)
{
    TreeNodes nodes;
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

Problem FinishTakeover(const Layout &layout)
{
    const StateFolder state(layout);
    const std::optional<PendingExchange> pending = state.pending();
    if (!pending) {
        return {};
    }
    TreeNodes nodes;
    Problem problem = FindNodes(layout, nodes);
    if (problem) {
        return problem;
    }
    const bool isFormerHere = nodes.next == pending->formerNode;
    const bool wasRenamed = nodes.previous == pending->formerNode;
    bool isTidy = wasRenamed || DoomTree(layout, layout.previous);
    if (isTidy && isFormerHere) {
        isTidy = pending->keepPrevious ? Move(layout.next, layout.previous)
                                       : RemoveTree(QFile::encodeName(layout.next));
    }
    if (isTidy && wasRenamed && !pending->keepPrevious) {
        isTidy = DoomTree(layout, layout.previous);
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
    Problem problem = RestoreInstall(layout, pending ? pending->node : 0);
    if (problem) {
        return problem;
    }
    (void)RemoveTree(QFile::encodeName(layout.probe));
    if (!pending) {
        (void)RemoveTree(QFile::encodeName(layout.doomed));
        return {};
    }
    TreeNodes nodes;
    problem = FindNodes(layout, nodes);
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
