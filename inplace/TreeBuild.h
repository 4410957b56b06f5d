// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"
#include "inplace/TreeHash.h"
#include "inplace/TreePlan.h"

/// Builds a planned tree in a separate folder. Changes nothing but that folder, and never writes to
/// a file that it shares with another tree by a hard link.
///
/// Call prepare(), takeFrom() for each place that may have files of the release, and finish() once
/// nothing is missing. A step that ends because of a stop request returns End::Cancelled.
class TreeBuild {
public:
    /// How files are taken from a source: shared with it, or moved.
    enum class Take { Share, Move };

    /// \a root  the folder to build the tree in, absolute. All arguments must live as long as this.
    TreeBuild(QByteArray root, const TreePlan &plan, HashedFiles &hashed);

    /// Makes the folder and the planned folders in it. Of an interrupted run's leftovers, files
    /// with the right content stay and everything else is removed.
    Problem prepare();

    /// Adds the missing files of the release that \a source has with the right content.
    ///
    /// \a listed  the known content of the source, or null: a file listed with another content is
    ///            not even read.
    Problem takeFrom(const QByteArray &source, Take take, const ReleaseManifest *listed = nullptr);

    /// The files of the release that the tree does not have yet.
    const std::vector<const PlannedEntry *> &missing() const { return m_missing; }

    /// Adds the links and the user's entries, which are in \a users, then sets modes and owners,
    /// those of folders last. The tree's own folder gets those of \a users.
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
