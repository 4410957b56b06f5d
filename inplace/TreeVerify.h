// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"
#include "inplace/TreeHash.h"

/// Compares the tree below \a root with its plan: every file's content, size and mode, every link,
/// every folder's mode; nothing may be missing, but for what its user has removed meanwhile, and
/// nothing else may be there.
///
/// \a withManifest  whether the manifest's and its signature's names may stand at the top.
/// \a hashed        files that were found right and not touched since are not read again.
/// Uses all processors. Ends early with End::Cancelled when a stop is wanted.
Problem VerifyTree(const QByteArray &root, const TreePlan &plan, bool withManifest,
                   HashedFiles &hashed);
