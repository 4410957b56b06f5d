// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/UpdateRun.h"

#include "app/FileNames.h"
#include "inplace/Dialogs.h"
#include "inplace/FetchEstimate.h"
#include "inplace/Preconditions.h"
#include "inplace/TreeRemove.h"
#include "release/DurableFile.h"
#include "release/SystemCalls.h"

#include <QFileInfo>
#include <QObject>

namespace {

using Task = UpdateOptions::Task;

constexpr int MostPasses = 3; // while the user keeps changing files in the installation

Problem Stopped()
{
    return StopSignals::isWanted() ? Problem{End::Cancelled, QObject::tr("已取消")} : Problem();
}

/// Waits until the new tree and its name will survive a power loss.
Problem MakeDurable(const Layout &layout)
{
    QString reason = SyncTree(layout.next);
    if (reason.isEmpty() && !SyncFolder(layout.parent)) {
        reason = QStringLiteral("%1: %2").arg(layout.parent, SystemError());
    }
    return reason.isEmpty() ? Problem()
                            : Problem{End::Storage, QObject::tr("无法写入磁盘:%1").arg(reason)};
}

} // namespace

UpdateRun::UpdateRun(const UpdateOptions &options, const Layout &layout, StopSignals &stop,
                     Conversation &conversation)
    : m_options(options), m_layout(layout), m_stop(stop), m_conversation(conversation),
      m_state(layout)
{
}

Outcome UpdateRun::attempt()
{
    const Problem problem = begin();
    if (problem) {
        return outcome(problem);
    }
    if (m_options.task == Task::Undo) {
        return undo();
    }
    return update();
}

/// Repairs what an interrupted run left.
Problem UpdateRun::begin()
{
    if (m_options.task != Task::Check) {
        bool happened = false;
        const Problem problem = MendTakeover(m_layout, happened);
        if (problem) {
            return problem;
        }
    }
    return InstallProblem(m_layout);
}

Outcome UpdateRun::update()
{
    Problem problem = m_options.task == Task::ApplyOnly
                          ? ReadCandidate(m_state.readyFolder(), m_options, m_candidate)
                          : FetchCandidate(m_options, m_candidate);
    m_conversation.page = m_candidate.page;
    m_installed = ReadInstalled(m_layout, m_candidate.content, m_candidate.manifest);
    if (!problem) {
        problem = CandidateProblem(m_candidate, m_options, m_installed);
    }
    if (Stopped()) {
        problem = Stopped();
    }
    if (problem) {
        return outcome(problem);
    }
    const Decision decision = Decide(m_candidate, m_installed, m_state.highest(),
                                     !m_options.keys.isEmpty(), m_options.allowOlder);
    switch (decision) {
    case Decision::SameNumber:
        return outcome(
            {End::SameNumber,
             QObject::tr("服务器上的版本%1与已知的同号版本不同").arg(m_candidate.versionString)});
    case Decision::Older:
        return outcome(
            End::Older,
            QObject::tr("服务器上的版本%1比已安装的旧，不需要更新").arg(m_candidate.versionString));
    case Decision::UpToDate:
        if (m_options.task == Task::Repair) {
            break;
        }
        if (m_options.task != Task::Check) {
            removeLeftovers();
        }
        return outcome(End::UpToDate, QObject::tr("已是最新版本"));
    case Decision::Install:
        break;
    }
    if (m_options.task == Task::Check) {
        return check();
    }
    if (m_options.ask && !m_conversation.isAgreed) {
        m_conversation.isAgreed = AskForUpdate(m_candidate, IsForced(m_candidate, m_installed));
        if (!m_conversation.isAgreed) {
            problem = Stopped();
            return outcome(problem ? problem
                                   : Problem{End::Postponed, QObject::tr("用户暂不更新")});
        }
    }
    return install();
}

Outcome UpdateRun::check()
{
    Outcome found =
        outcome(End::Available, QObject::tr("发现新版本：%1").arg(m_candidate.versionString));
    found.update = true;
    found.forced = IsForced(m_candidate, m_installed);
    const FetchEstimate estimate = EstimateFetch(m_layout.install, m_candidate, m_installed);
    found.files = estimate.files;
    found.bytes = estimate.bytes;
    return found;
}

Outcome UpdateRun::install()
{
    Problem problem = NamesProblem(m_layout, m_candidate.manifest);
    if (problem) {
        return outcome(problem);
    }
    NewTree tree(m_options, m_layout, m_installed, m_candidate, m_stop);
    const bool isOffline = m_options.task == Task::ApplyOnly;
    for (int pass = 0; pass < MostPasses; ++pass) {
        problem = tree.make(isOffline ? NewTree::Source::StagingOnly : NewTree::Source::Network);
        m_files = tree.files();
        m_bytes = tree.bytes();
        if (problem) {
            return outcome(problem);
        }
        if (m_options.task == Task::FetchOnly) {
            return leaveReady();
        }
        if (m_options.task == Task::Repair && tree.isAsInstalled()) {
            removeLeftovers();
            return outcome(End::UpToDate, QObject::tr("没有需要修复的文件"));
        }
        problem = MakeDurable(m_layout);
        if (problem) {
            return outcome(problem);
        }
        if (tree.isCurrent()) {
            break;
        }
    }
    const bool isSame = m_installed.hasManifest && m_installed.content == m_candidate.content;
    return exchange(takeover(tree.isBundle()), isSame ? End::Repaired : End::Updated);
}

Takeover UpdateRun::takeover(bool isBundle) const
{
    Takeover takeover;
    takeover.keepPrevious = m_options.keepPrevious;
    if (!m_layout.isManifestInside(isBundle)) {
        takeover.manifest = m_candidate.content;
        takeover.signature = m_candidate.signature;
    }
    if (!m_layout.isManifestInside(m_installed.isBundle)) {
        takeover.former = m_installed.content;
        takeover.formerSignature = m_installed.signature;
    }
    return takeover;
}

Outcome UpdateRun::leaveReady()
{
    const QString reason = m_state.writeReady(m_candidate);
    if (!reason.isEmpty()) {
        return outcome({End::Storage, reason});
    }
    Outcome ready = outcome(End::Ready, QObject::tr("更新已下载，等待安装"));
    ready.update = true;
    return ready;
}

Outcome UpdateRun::exchange(const Takeover &takeover, End end)
{
    Problem problem = PrepareTakeover(m_layout, takeover);
    if (!problem && !m_options.keys.isEmpty() && end != End::Undone) {
        const std::optional<HighestNumber> highest = m_state.highest();
        if (!highest || m_candidate.version > highest->number || m_options.allowOlder) {
            const QString reason =
                m_state.writeHighest({m_candidate.version, ManifestDigest(m_candidate.content)});
            problem = reason.isEmpty() ? Problem() : Problem{End::Storage, reason};
        }
    }
    if (!problem) {
        problem = Stopped(); // the last moment to give up
    }
    if (!problem) {
        problem = ExchangeTrees(m_layout, m_isChanged);
    }
    if (!problem) {
        problem = FinishTakeover(m_layout);
    } else if (!m_isChanged) {
        (void)m_state.removePending(); // the next run checks one that stays
    }
    if (problem) {
        return outcome(problem);
    }
    Outcome done = outcome(end, end == End::Undone     ? QObject::tr("已恢复到上一个版本")
                                : end == End::Repaired ? QObject::tr("修复成功")
                                                       : QObject::tr("更新成功"));
    return done;
}

/// Goes back to the previous tree, with the user's current files.
Outcome UpdateRun::undo()
{
    const QString previous = m_layout.previous;
    if (!QFileInfo(previous).isDir() || QFileInfo(previous).isSymLink()) {
        return outcome({End::NothingToUndo, QObject::tr("没有可恢复的上一个版本")});
    }
    m_installed = ReadInstalled(m_layout);
    const bool isBundle = IsBundle(previous);
    const bool isInside = m_layout.isManifestInside(isBundle);
    const QString inside = previous + QLatin1Char('/') + LOCAL_MD5_FILENAME;
    m_candidate.content =
        isInside ? ReadSmall(inside, TooLargeManifest) : m_state.previousManifest();
    m_candidate.signature = isInside ? ReadSmall(SignaturePath(inside), TooLargeSignature)
                                     : m_state.previousSignature();
    const bool isKnown = !m_candidate.content.isEmpty() &&
                         ReadManifest(m_candidate.content, m_candidate.manifest).isEmpty() &&
                         m_candidate.manifest.isComplete;
    m_candidate.version = m_candidate.manifest.version;
    m_candidate.versionString = m_candidate.manifest.versionString;
    if (!isKnown) {
        return undoWhole();
    }
    NewTree tree(m_options, m_layout, m_installed, m_candidate, m_stop);
    Problem problem = tree.make(NewTree::Source::Previous);
    if (!problem) {
        problem = MakeDurable(m_layout);
    }
    if (problem) {
        return outcome(problem);
    }
    Takeover back = takeover(tree.isBundle());
    back.keepPrevious = false; // once
    return exchange(back, End::Undone);
}

/// Goes back to the previous tree as it is: which of its files are the release's is unknown.
Outcome UpdateRun::undoWhole()
{
    if (!RemoveTree(QFile::encodeName(m_layout.next)) || !Move(m_layout.previous, m_layout.next) ||
        !SyncFolder(m_layout.parent)) {
        return outcome(
            {End::Storage, QObject::tr("%1无法恢复:%2").arg(m_layout.previous, SystemError())});
    }
    Takeover back = takeover(IsBundle(m_layout.next));
    back.keepPrevious = false; // once
    return exchange(back, End::Undone);
}

/// Removes what abandoned updates left. Anything that stays is harmless.
void UpdateRun::removeLeftovers() const
{
    (void)RemoveTree(QFile::encodeName(m_layout.next));
    (void)RemoveTree(QFile::encodeName(m_layout.fetch));
    m_state.removeReady();
}

Outcome UpdateRun::outcome(End end, const QString &message) const
{
    Outcome outcome;
    outcome.end = end;
    outcome.message = message;
    outcome.update = m_isChanged;
    outcome.version = m_candidate.version;
    outcome.versionString = m_candidate.versionString;
    outcome.files = m_files;
    outcome.bytes = m_bytes;
    return outcome;
}

Outcome UpdateRun::outcome(const Problem &problem) const
{
    return outcome(problem.end, problem.message);
}
