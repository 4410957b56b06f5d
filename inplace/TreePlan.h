// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/TreeList.h"
#include "release/ReleaseManifest.h"

/// One entry of the tree that is to be.
struct PlannedEntry {
    enum class From { Release, User };

    QByteArray path;
    EntryKind kind = EntryKind::File;
    From from = From::Release;
    int mode = -1;                      ///< permission bits; -1 leaves them as they come
    uid_t user = 0;                     ///< whose it is to be
    gid_t group = 0;                    ///< and of which group
    QByteArray target;                  ///< of a link
    const ManifestFile *file = nullptr; ///< of a release's file
    const TreeEntry *there = nullptr;   ///< what the installation has under this path
};

/// Sorted by the bytes of the paths.
using TreePlan = std::vector<PlannedEntry>;

/// What a plan is made of. All of it must live as long as the plan.
struct PlanSources {
    const ReleaseManifest &release;
    const ReleaseManifest *installed; ///< what is known to be of the installed release, or null
    const TreeEntries &there;         ///< the installation as it stands
    struct stat root;                 ///< its folder
    bool isBundle;
};

/// Plans the tree: the whole release, and what is the user's own as far as the release leaves its
/// place free. What the installed release has, and nobody else, is not planned.
///
/// Without an installed manifest nobody knows whose a file is: in a plain folder all that the
/// release does not have stays, in a bundle, whose seal allows nothing else, none of it. The
/// manifest and its signature at the top are nobody's. Callable on any thread.
TreePlan PlanTree(const PlanSources &sources);

/// Returns the entry at \a path, or null.
const PlannedEntry *FindPlanned(const TreePlan &plan, const QByteArray &path);

/// Whether the names at the top of an installation that are the manifest's and its signature's.
bool IsManifestName(const QByteArray &path);
