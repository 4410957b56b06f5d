// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/UpdateRun.h"

#include "inplace/Dialogs.h"
#include "inplace/FetchEstimate.h"
#include "inplace/FetchStep.h"
#include "inplace/InstallStep.h"
#include "inplace/Preconditions.h"
#include "inplace/StateFolder.h"
#include "inplace/Takeover.h"
#include "inplace/UndoStep.h"

#include <QObject>

namespace {

using Task = UpdateOptions::Task;

/// Repairs what an interrupted run left.
Problem Begin(const UpdateOptions &options, const Layout &layout)
{
    if (options.task != Task::Check) {
        bool happened = false;
        Problem problem = MendTakeover(layout, happened);
        if (problem) {
            return problem;
        }
    }
    return InstallProblem(layout);
}

/// Reads the release in question and the installation, and refuses what can be refused.
Problem Fetch(RunParts &parts)
{
    const UpdateOptions &options = parts.options;
    parts.installed = FindInstalled(parts.layout);
    // The same release is up to date, whatever it lists; only a repair needs its list.
    const bool isListNeeded = options.task == Task::Repair || parts.installed.isReplaced;
    const QByteArray known = isListNeeded ? QByteArray() : parts.installed.content;
    Candidate &candidate = parts.candidate;
    Problem problem =
        options.task == Task::ApplyOnly
            ? ReadCandidate(StateFolder(parts.layout).readyFolder(), options, known, candidate)
            : FetchCandidate(options, known, candidate);
    ReadInstalledManifest(parts.installed, candidate.content, candidate.manifest);
    if (!problem) {
        problem = CandidateProblem(candidate, options, parts.installed);
    }
    return StopSignals::isWanted() ? CancelledProblem() : problem;
}

Outcome Check(const RunParts &parts)
{
    const Candidate &candidate = parts.candidate;
    Outcome found = OutcomeOf(candidate, End::Available,
                              QObject::tr("发现新版本：%1").arg(candidate.versionString));
    found.update = true;
    found.forced = IsForced(candidate, parts.installed);
    const FetchEstimate estimate = EstimateFetch(parts.layout.install, candidate, parts.installed);
    found.files = estimate.files;
    found.bytes = estimate.bytes;
    return found;
}

Outcome UpToDate(const RunParts &parts)
{
    if (parts.options.task != Task::Check) {
        RemoveLeftovers(parts.layout);
    }
    return OutcomeOf(parts.candidate, End::UpToDate, QObject::tr("已是最新版本"));
}

/// Installs a release, if the user wants it.
Outcome Install(const RunParts &parts, Conversation &conversation)
{
    if (parts.options.ask && !conversation.isAgreed) {
        conversation.isAgreed =
            AskForUpdate(parts.candidate, IsForced(parts.candidate, parts.installed));
        if (!conversation.isAgreed) {
            return StopSignals::isWanted()
                       ? OutcomeOf(parts.candidate, CancelledProblem())
                       : OutcomeOf(parts.candidate, End::Postponed, QObject::tr("用户暂不更新"));
        }
    }
    return InstallRelease(parts);
}

/// Goes the way that a decision leads.
Outcome Follow(Decision decision, const RunParts &parts, Conversation &conversation)
{
    const Candidate &candidate = parts.candidate;
    const Task task = parts.options.task;
    switch (decision) {
    case Decision::SameNumber:
        return OutcomeOf(
            candidate, End::SameNumber,
            QObject::tr("服务器上的版本%1与已知的同号版本不同").arg(candidate.versionString));
    case Decision::Older:
        return OutcomeOf(
            candidate, End::Older,
            QObject::tr("服务器上的版本%1比已安装的旧，不需要更新").arg(candidate.versionString));
    case Decision::UpToDate:
        return task == Task::Repair ? Install(parts, conversation) : UpToDate(parts);
    case Decision::Install:
        break;
    }
    return task == Task::Check ? Check(parts) : Install(parts, conversation);
}

} // namespace

Outcome RunUpdate(const UpdateOptions &options, const Layout &layout, StopSignals &stop,
                  Conversation &conversation)
{
    RunParts parts{options, layout, stop, {}, {}};
    Problem problem = Begin(options, layout);
    if (problem) {
        return OutcomeOf(parts.candidate, problem);
    }
    if (options.task == Task::Undo) {
        return UndoUpdate(options, layout, stop);
    }
    problem = Fetch(parts);
    conversation.page = parts.candidate.page;
    if (problem) {
        return OutcomeOf(parts.candidate, problem);
    }
    const Decision decision =
        Decide(parts.candidate, parts.installed, StateFolder(layout).highest(),
               !options.keys.isEmpty(), options.allowOlder);
    return Follow(decision, parts, conversation);
}
