// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/ExchangeStep.h"

#include "inplace/StateFolder.h"
#include "inplace/TreeExchange.h"
#include "release/DurableFile.h"
#include "release/SystemCalls.h"

#include <QObject>

namespace {

/// Notes the number that is about to be installed, when releases are to be signed.
Problem NoteHighest(const RunParts &parts, const StateFolder &state)
{
    const Candidate &candidate = parts.candidate;
    const std::optional<HighestNumber> highest = state.highest();
    if (highest && candidate.version <= highest->number && !parts.options.allowOlder) {
        return {};
    }
    const QString reason =
        state.writeHighest({candidate.version, ManifestDigest(candidate.content)});
    return reason.isEmpty() ? Problem() : Problem{End::Storage, reason};
}

QString DoneText(End end)
{
    switch (end) {
    case End::Undone:
        return QObject::tr("已恢复到上一个版本");
    case End::Repaired:
        return QObject::tr("修复成功");
    default:
        return QObject::tr("更新成功");
    }
}

} // namespace

Takeover TakeoverOf(const RunParts &parts, bool isBundle)
{
    Takeover takeover;
    takeover.keepPrevious = parts.options.keepPrevious;
    if (!parts.layout.isManifestInside(isBundle)) {
        takeover.manifest = parts.candidate.content;
        takeover.signature = parts.candidate.signature;
    }
    if (!parts.layout.isManifestInside(parts.installed.isBundle) && !parts.installed.isReplaced) {
        takeover.former = parts.installed.content;
        takeover.formerSignature = parts.installed.signature;
    }
    return takeover;
}

Problem MakeDurable(const Layout &layout, const std::vector<QByteArray> &paths)
{
    QString reason = SyncTree(layout.next, paths);
    if (reason.isEmpty() && !SyncFolder(layout.parent)) {
        reason = QStringLiteral("%1: %2").arg(layout.parent, SystemError());
    }
    return reason.isEmpty() ? Problem()
                            : Problem{End::Storage, QObject::tr("无法写入磁盘:%1").arg(reason)};
}

Outcome ExchangeFor(const RunParts &parts, const Takeover &takeover, End end)
{
    const StateFolder state(parts.layout);
    bool isChanged = false;
    Problem problem = PrepareTakeover(parts.layout, takeover);
    if (!problem && !parts.options.keys.isEmpty() && end != End::Undone) {
        problem = NoteHighest(parts, state);
    }
    if (!problem && StopSignals::isWanted()) {
        problem = CancelledProblem(); // the last moment to give up
    }
    if (!problem) {
        problem = ExchangeTrees(parts.layout, isChanged);
    }
    if (!problem) {
        problem = FinishTakeover(parts.layout);
    } else if (!isChanged) {
        (void)state.removePending(); // the next run checks one that stays
    }
    Outcome outcome = problem ? OutcomeOf(parts.candidate, problem)
                              : OutcomeOf(parts.candidate, end, DoneText(end));
    outcome.update = isChanged;
    return outcome;
}
