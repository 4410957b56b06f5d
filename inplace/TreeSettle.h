// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"
#include "inplace/TreeHash.h"
#include "inplace/TreePlan.h"

/// Completes the tree at \a root, which already has the release's folders and files: adds the links
/// and the user's entries from the folder \a users, then sets modes and owners, those of folders
/// last. The tree's own folder gets the mode and owner of \a users.
///
/// \a hashed  the state of each file when its hash was checked.
/// Ends early with End::Cancelled on a stop request.
Problem SettleTree(const QByteArray &root, const TreePlan &plan, const QByteArray &users,
                   const HashedFiles &hashed);

/// Returns why the entry at \a path of a new tree, or the tree's own folder if the path is empty,
/// cannot be made: the error of the last system call.
Problem BuildProblem(const QByteArray &root, const QByteArray &path);
