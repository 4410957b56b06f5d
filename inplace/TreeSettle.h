// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"
#include "inplace/TreeHash.h"
#include "inplace/TreePlan.h"

/// Completes the tree at \a root, which has all folders and files of the release: adds the links
/// and the user's entries, which are in \a users, then sets modes and owners, those of folders
/// last. The tree's own folder gets those of \a users.
///
/// \a hashed  the state of the files when they were found right.
/// Ends early with End::Cancelled on a stop request.
Problem SettleTree(const QByteArray &root, const TreePlan &plan, const QByteArray &users,
                   const HashedFiles &hashed);

/// Returns why the entry at \a path of a new tree cannot be made, or the tree's own folder if the
/// path is empty: the error of the last call of the system.
Problem BuildProblem(const QByteArray &root, const QByteArray &path);
