// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/InstallStep.h"

#include "inplace/ExchangeStep.h"
#include "inplace/NewTree.h"
#include "inplace/Preconditions.h"
#include "inplace/StateFolder.h"
#include "inplace/TreeList.h"

#include <QFile>
#include <QFileInfo>
#include <QObject>

namespace {

using Task = UpdateOptions::Task;

constexpr int MostPasses = 3; // while the user keeps changing files in the installation

/// What was fetched may be in the tree that an earlier run built. Building removes one that cannot
/// be read, and without a network nothing could take its place.
Problem FetchedTreeProblem(const Layout &layout)
{
    TreeEntries entries;
    const bool isThere = QFileInfo(layout.next).isDir();
    const QString reason = isThere ? ListTree(QFile::encodeName(layout.next), entries) : QString();
    return reason.isEmpty() ? Problem() : Problem{End::Storage, reason};
}

Outcome LeaveReady(const RunParts &parts)
{
    const QString reason = StateFolder(parts.layout).writeReady(parts.candidate);
    if (!reason.isEmpty()) {
        return OutcomeOf(parts.candidate, End::Storage, reason);
    }
    Outcome ready = OutcomeOf(parts.candidate, End::Ready, QObject::tr("更新已下载，等待安装"));
    ready.update = true;
    return ready;
}

Outcome Exchange(const RunParts &parts, const NewTree &tree)
{
    const InstalledRelease &installed = parts.installed;
    const bool isSame = installed.hasManifest && installed.isOf(parts.candidate.content);
    return ExchangeFor(parts, TakeoverOf(parts, tree.isBundle()),
                       isSame ? End::Repaired : End::Updated);
}

/// Builds the tree and does with it what the task is.
Outcome BuildAndUse(const RunParts &parts, NewTree &tree)
{
    const Task task = parts.options.task;
    const auto source =
        task == Task::ApplyOnly ? NewTree::Source::StagingOnly : NewTree::Source::Network;
    for (int pass = 0; pass < MostPasses; ++pass) {
        Problem problem = tree.make(source);
        if (problem) {
            return OutcomeOf(parts.candidate, problem);
        }
        if (task == Task::FetchOnly) {
            return LeaveReady(parts);
        }
        if (task == Task::Repair && tree.isAsInstalled()) {
            RemoveLeftovers(parts.layout);
            return OutcomeOf(parts.candidate, End::UpToDate, QObject::tr("没有需要修复的文件"));
        }
        problem = MakeDurable(parts.layout, tree.unwritten());
        if (problem) {
            return OutcomeOf(parts.candidate, problem);
        }
        if (tree.isCurrent()) {
            break;
        }
    }
    return Exchange(parts, tree);
}

} // namespace

Outcome InstallRelease(const RunParts &parts)
{
    Problem problem = NamesProblem(parts.layout, parts.candidate.manifest);
    if (!problem && parts.options.task == Task::ApplyOnly) {
        problem = FetchedTreeProblem(parts.layout);
    }
    if (problem) {
        return OutcomeOf(parts.candidate, problem);
    }
    NewTree tree(parts);
    Outcome outcome = BuildAndUse(parts, tree);
    outcome.files = tree.files();
    outcome.bytes = tree.bytes();
    return outcome;
}
