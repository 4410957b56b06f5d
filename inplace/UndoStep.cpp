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

/// Reads the release of the former tree. Returns whether it is known.
bool ReadFormer(const Layout &layout, Candidate &former)
{
    const StateFolder state(layout);
    const bool isInside = layout.isManifestInside(IsBundle(layout.previous));
    const QString inside = layout.previous + QLatin1Char('/') + LOCAL_MD5_FILENAME;
    former.content = isInside ? ReadSmall(inside, TooLargeManifest) : state.previousManifest();
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
    if (!RemoveTree(QFile::encodeName(layout.next)) || !Move(layout.previous, layout.next) ||
        !SyncFolder(layout.parent)) {
        return OutcomeOf(parts.candidate, End::Storage,
                         QObject::tr("%1无法恢复:%2").arg(layout.previous, SystemError()));
    }
    return GoBack(parts, IsBundle(layout.next));
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
    return ReadFormer(layout, parts.candidate) ? RebuildFormer(parts) : TakeFormerAsItIs(parts);
}
