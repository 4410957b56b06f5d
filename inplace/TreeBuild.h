// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"
#include "inplace/TreeHash.h"
#include "inplace/TreePlan.h"

/// Builds a tree by its plan in a folder of its own. Nothing but that folder is ever changed, and
/// no file that it shares with another tree, as hard links do, is ever written to.
///
/// Call prepare(), takeFrom() for each place that may hold files of the release, and finish() once
/// nothing is missing. A step that ends because a stop is wanted gives End::Cancelled.
class TreeBuild {
public:
    /// How files come out of a source: shared with it, or taken away from it.
    enum class Take { Share, Move };

    /// \a root  the folder that the tree is built as, absolute. All must live as long as this.
    TreeBuild(QByteArray root, const TreePlan &plan, HashedFiles &hashed);

    /// Makes the folder and the planned ones in it. Of what an interrupted run left there, files
    /// with the right content stay and everything else is removed.
    Problem prepare();

    /// Puts the missing files of the release that stand in \a source with the right content.
    ///
    /// \a listed  what is known of the source, or null: a file that it lists with another content
    ///            is not even read.
    Problem takeFrom(const QByteArray &source, Take take, const ReleaseManifest *listed = nullptr);

    /// The files of the release that are not there yet.
    const std::vector<const PlannedEntry *> &missing() const { return m_missing; }

    /// Puts the links, the user's entries, which lie in \a users, and modes and owners, those of
    /// folders last. The folder itself gets them from \a users too.
    Problem finish(const QByteArray &users);

private:
    Problem makeRoot() const;
    Problem prune(std::vector<const PlannedEntry *> &there) const;
    Problem makeFolders() const;
    Problem keepRight(const std::vector<const PlannedEntry *> &placed);
    Problem putOthers(const QByteArray &users) const;
    Problem settleFolders(const QByteArray &users) const;
    Problem failure(const QByteArray &path) const;

    const QByteArray m_root;
    const TreePlan &m_plan;
    HashedFiles &m_hashed;
    std::vector<const PlannedEntry *> m_missing;
};
