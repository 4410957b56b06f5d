// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/UndoStep.h"

#include "app/FileNames.h"
#include "inplace/ExchangeStep.h"
#include "inplace/NewTree.h"
#include "inplace/StateFolder.h"
#include "inplace/TreeRemove.h"
#include "release/DurableFile.h"
#include "release/SystemCalls.h"

#include <QFile>
#include <QFileInfo>
#include <QObject>

namespace {

/// Reads the release of the former tree. Returns whether it is known. If the system fails to read
/// it, \a unreadable says why: or the user's files would be taken for the release's, and lost.
bool ReadFormer(const Layout &layout, Candidate &former, QString &unreadable)
{
    const StateFolder state(layout);
    const bool isBundle = IsBundle(layout.previous);
    unreadable = isBundle ? QString() : DoubtAboutKind(layout.previous);
    const bool isInside = layout.isManifestInside(isBundle);
    const QString inside = layout.previous + QLatin1Char('/') + LOCAL_MD5_FILENAME;
    former.content = isInside ? ReadSmall(inside, TooLargeManifest) : state.previousManifest();
    if (former.content.isEmpty() && unreadable.isEmpty()) {
        unreadable = DoubtAbout(isInside ? inside : state.previousPath());
    }
    former.signature =
        isInside ? ReadSmall(SignaturePath(inside), TooLargeSignature) : state.previousSignature();
    const bool isKnown = !former.content.isEmpty() &&
                         ReadManifest(former.content, former.manifest).isEmpty() &&
                         former.manifest.isComplete;
    former.version = former.manifest.version;
    former.versionString = former.manifest.versionString;
    return isKnown;
}

Outcome GoBack(const RunParts &parts, bool isBundle)
{
    Takeover back = TakeoverOf(parts, isBundle);
    back.keepPrevious = false; // once
    return ExchangeFor(parts, back, End::Undone);
}

/// Builds the former release again, with the user's current files.
Outcome RebuildFormer(const RunParts &parts)
{
    NewTree tree(parts);
    Problem problem = tree.make(NewTree::Source::Previous);
    if (!problem) {
        problem = MakeDurable(parts.layout, tree.unwritten());
    }
    return problem ? OutcomeOf(parts.candidate, problem) : GoBack(parts, tree.isBundle());
}

Outcome TakeFormerAsItIs(const RunParts &parts)
{
    const Layout &layout = parts.layout;
    const bool isMoved =
        RemoveTree(QFile::encodeName(layout.next)) && Move(layout.previous, layout.next);
    Outcome outcome =
        isMoved && SyncFolder(layout.parent)
            ? GoBack(parts, IsBundle(layout.next))
            : OutcomeOf(parts.candidate, End::Storage,
                        QObject::tr("%1无法恢复:%2").arg(layout.previous, SystemError()));
    if (isMoved && !outcome.update) {
        (void)Move(layout.next, layout.previous); // so that it can be tried again
    }
    return outcome;
}

} // namespace

Outcome UndoUpdate(const UpdateOptions &options, const Layout &layout, StopSignals &stop)
{
    RunParts parts{options, layout, stop, {}, {}};
    if (!QFileInfo(layout.previous).isDir() || QFileInfo(layout.previous).isSymLink()) {
        return OutcomeOf(parts.candidate, End::NothingToUndo,
                         QObject::tr("没有可恢复的上一个版本"));
    }
    parts.installed = FindInstalled(layout);
    ReadInstalledManifest(parts.installed);
    QString unreadable;
    const bool isKnown = ReadFormer(layout, parts.candidate, unreadable);
    if (!unreadable.isEmpty()) {
        return OutcomeOf(parts.candidate, End::Storage, unreadable);
    }
    return isKnown ? RebuildFormer(parts) : TakeFormerAsItIs(parts);
}
