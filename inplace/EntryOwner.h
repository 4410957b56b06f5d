// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/TreePlan.h"

/// \file
/// Modes and owners of single entries. Folders are open handles, names single components. A false
/// result leaves the reason in errno. Callable on any thread.

/// Gives the entry \a name its planned mode and owner. A file that shares its content with another
/// tree is replaced by a copy first, when one of them must change.
///
/// Only root can give files away; for other users the owner stays as it is.
bool SettleEntry(int folder, const char *name, const PlannedEntry &entry);

/// Returns whether SettleEntry() would leave an entry alone that was found so.
bool NeedsNothing(const struct stat &about, const PlannedEntry &entry);

/// Returns whether a mode and owner that were found are what is planned, as far as SettleEntry()
/// can bring that about.
bool IsSettled(const struct stat &about, const PlannedEntry &entry);
