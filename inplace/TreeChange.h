// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/TreeHash.h"
#include "inplace/TreeList.h"
#include "inplace/TreePlan.h"

/// A new tree and the installation that it was built from.
struct BuiltTree {
    QByteArray root; ///< absolute
    const TreePlan &plan;
    const HashedFiles &hashed; ///< its files
    QByteArray install;        ///< absolute
    const TreeEntries &there;  ///< what the installation had when the tree was planned
};

/// Whether the installation still has what the tree was built from: nobody has added, removed or
/// replaced anything, or changed a file of the user that had to be copied. False if nobody can say.
/// Callable on any thread.
bool IsUnchangedSince(const BuiltTree &tree);
