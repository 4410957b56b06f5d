// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"
#include "inplace/TreeHash.h"

/// Compares the tree below \a root with its plan: every file's content, size and mode, every link,
/// every folder's mode; nothing may be missing, except what the user has removed meanwhile, and
/// nothing else may be there.
///
/// \a withManifest  whether the manifest and its signature may be at the top.
/// \a hashed        files that were found right and not touched since are not read again.
/// Uses all processors. Ends early with End::Cancelled on a stop request.
Problem VerifyTree(const QByteArray &root, const TreePlan &plan, bool withManifest,
                   HashedFiles &hashed);
