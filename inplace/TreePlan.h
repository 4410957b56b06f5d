// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/ReleaseSpelling.h"
#include "inplace/TreeList.h"
#include "release/ReleaseManifest.h"

/// One entry of the planned tree.
struct PlannedEntry {
    enum class From { Release, User };

    QByteArray path;
    EntryKind kind = EntryKind::File;
    From from = From::Release;
    int mode = -1;                      ///< permission bits; -1 leaves them as they are
    uid_t user = 0;                     ///< the owner
    gid_t group = 0;                    ///< the owning group
    QByteArray target;                  ///< of a link
    const ManifestFile *file = nullptr; ///< of a release's file
    const TreeEntry *there = nullptr;   ///< what the installation has under this path
};

/// Sorted by the bytes of the paths.
using TreePlan = std::vector<PlannedEntry>;

/// The sources of a plan, which must live as long as the plan.
struct PlanSources {
    const ReleaseManifest &release;
    const ReleaseManifest *installed; ///< the installed release, or null if unknown
    const TreeEntries &there;         ///< the current installation
    struct stat root;                 ///< its folder
    bool isBundle;
    ReleaseSpelling::IsSame isSame; ///< asks the installation's volume; empty asks nobody
};

/// Plans the tree: the whole release, and the user's files unless the release has their paths.
/// Files that only the installed release has are not planned. To a volume, a user's path may be the
/// release's although it is spelled otherwise: a file then gives way too, and a folder takes the
/// release's spelling.
///
/// Without an installed manifest it is unknown whose a file is: a plain folder then keeps
/// everything that the release does not have, and a bundle nothing, because its code signature
/// allows nothing else. The manifest and its signature at the top are never planned. Callable on
/// any thread.
TreePlan PlanTree(const PlanSources &sources);

/// Returns the entry at \a path, or null.
const PlannedEntry *FindPlanned(const TreePlan &plan, const QByteArray &path);

/// Whether \a path is the name of the manifest or of its signature, at the top of an installation.
bool IsManifestName(const QByteArray &path);
