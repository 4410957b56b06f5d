// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"
#include "inplace/TreeHash.h"
#include "inplace/TreePlan.h"

#include <functional>

class FolderChain;

/// Fills a tree by its plan with folders and the files of the release, in a folder of its own.
/// Nothing but that folder is ever changed, and no file that it shares with another tree, as hard
/// links do, is ever written to.
///
/// Call prepare(), then takeInstalled() and takeFrom() for the places that may hold files of the
/// release. Once nothing is missing, SettleTree() makes it whole. A step that ends because a stop
/// is wanted gives End::Cancelled.
class TreeBuild {
public:
    /// How files come out of a source: shared with it, or taken away from it.
    enum class Take { Share, Move };

    /// \a root    the folder that the tree is built as, absolute.
    /// \a hashed  what an earlier build of the same tree found right. All must live as long as
    ///            this.
    TreeBuild(QByteArray root, const TreePlan &plan, HashedFiles &hashed);

    /// Makes the folder and the planned ones in it. Of what an interrupted run left there, files
    /// with the right content stay and everything else is removed.
    Problem prepare();

    /// Shares the missing files that stand with the right content in the installation \a install,
    /// which the plan was made from.
    ///
    /// \a listed  what is known of it, or null: a file that it lists with another content is not
    ///            even read.
    Problem takeInstalled(const QByteArray &install, const ReleaseManifest *listed);

    /// Puts the missing files that stand with the right content in the folder \a source.
    Problem takeFrom(const QByteArray &source, Take take);

    /// The files of the release that are not there yet.
    const std::vector<const PlannedEntry *> &missing() const { return m_missing; }

private:
    /// Whether an entry may stand in a source, which is still to be read.
    using MayBeThere = std::function<bool(FolderChain &source, const PlannedEntry &entry)>;

    Problem makeRoot() const;
    Problem prune();
    Problem makeFolders() const;
    Problem keepRight(const std::vector<const PlannedEntry *> &placed);
    Problem put(const QByteArray &source, Take take, const MayBeThere &mayBeThere);

    const QByteArray m_root;
    const TreePlan &m_plan;
    HashedFiles &m_hashed;
    std::vector<const PlannedEntry *> m_missing; // in the order of the plan
};
