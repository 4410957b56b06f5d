// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/InplaceUpdate.h"

#include "inplace/Dialogs.h"
#include "inplace/FolderLock.h"
#include "inplace/Preconditions.h"
#include "inplace/UpdateRun.h"

#include <QFileInfo>

namespace {

Outcome Failed(const Problem &problem)
{
    Outcome outcome;
    outcome.end = problem.end;
    outcome.message = problem.message;
    return outcome;
}

/// One attempt, from finding the folders to releasing them.
Outcome TryOnce(const UpdateOptions &options, StopSignals &stop, Conversation &conversation)
{
    Layout layout;
    Problem problem = FindFolders(options, layout);
    // A missing installation may be restored, if its previous tree exists.
    if (!problem && (QFileInfo::exists(layout.install) || !QFileInfo::exists(layout.previous))) {
        problem = InstallProblem(layout);
    }
    if (problem) {
        return Failed(problem);
    }
    if (options.task == UpdateOptions::Task::Check) {
        return RunUpdate(options, layout, stop,
                         conversation); // changes nothing, so it needs no lock
    }
    FolderLock installLock(QDir(layout.parent), layout.lockName);
    FolderLock stagingLock(QDir(layout.staging), QStringLiteral("inplace_update#lock"));
    problem = installLock.take();
    if (!problem) {
        problem = MakeStaging(layout);
    }
    if (!problem) {
        problem = stagingLock.take();
    }
    return problem ? Failed(problem) : RunUpdate(options, layout, stop, conversation);
}

bool IsAnswer(const Outcome &outcome)
{
    return outcome.isSuccess() || outcome.end == End::Cancelled || outcome.end == End::Postponed;
}

} // namespace

Outcome UpdateInPlace(const UpdateOptions &options, StopSignals &stop)
{
    Conversation conversation;
    for (;;) { // the user decides on every retry
        Outcome outcome = TryOnce(options, stop, conversation);
        if (IsAnswer(outcome) || !options.hasWindows() ||
            !ShowFailure(outcome, conversation.page)) {
            return outcome;
        }
    }
}
