// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"
#include "inplace/TreeHash.h"
#include "inplace/TreePlan.h"

/// Makes the tree at \a root whole that has all folders and files of the release: puts the links
/// and the user's entries, which lie in \a users, and settles modes and owners, those of folders
/// last. The folder itself gets them from \a users too.
///
/// \a hashed  how the files stood when they were found right.
/// Ends early with End::Cancelled when a stop is wanted.
Problem SettleTree(const QByteArray &root, const TreePlan &plan, const QByteArray &users,
                   const HashedFiles &hashed);

/// Returns why the entry at \a path of a tree that is built, or its root, cannot be made: what the
/// last call of the system said.
Problem BuildProblem(const QByteArray &root, const QByteArray &path);
