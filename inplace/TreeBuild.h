// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"
#include "inplace/TreeHash.h"
#include "inplace/TreePlan.h"

#include <functional>

class FolderChain;

/// Fills a planned tree with its folders and the release's files, in a separate folder. Changes
/// nothing but that folder, and never writes to a file that it shares with another tree by a hard
/// link.
///
/// Call prepare(), then takeInstalled() and takeFrom() for the places that may have files of the
/// release. Once nothing is missing, SettleTree() completes the tree. A step that ends because of a
/// stop request returns End::Cancelled.
class TreeBuild {
public:
    /// How files are taken from a source: shared with it, or moved.
    enum class Take { Share, Move };

    /// \a root    the folder to build the tree in, absolute.
    /// \a hashed  what an earlier build of the same tree found right.
    /// All arguments must live as long as this.
    TreeBuild(QByteArray root, const TreePlan &plan, HashedFiles &hashed);

    /// Makes the folder and the planned folders in it. Of an interrupted run's leftovers, files
    /// with the right content stay and everything else is removed.
    Problem prepare();

    /// Shares the missing files that the installation \a install has with the right content. The
    /// plan was made from it.
    ///
    /// \a listed  the installed release, or null: a file listed with another content is not even
    ///            read.
    Problem takeInstalled(const QByteArray &install, const ReleaseManifest *listed);

    /// Adds the missing files that the folder \a source has with the right content.
    Problem takeFrom(const QByteArray &source, Take take);

    /// The files of the release that the tree does not have yet.
    const std::vector<const PlannedEntry *> &missing() const { return m_missing; }

private:
    /// Whether a source may have an entry; its content is still to be read.
    using MayBeThere = std::function<bool(FolderChain &source, const PlannedEntry &entry)>;

    Problem makeRoot() const;
    Problem prune();
    Problem makeFolders() const;
    Problem keepRight(const std::vector<const PlannedEntry *> &files,
                      const PlaceFileMaker &placer = {});
    Problem put(const QByteArray &source, Take take, const MayBeThere &mayBeThere);

    const QByteArray m_root;
    const TreePlan &m_plan;
    HashedFiles &m_hashed;
    std::vector<const PlannedEntry *> m_missing; // in the order of the plan
};
