// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/TreePlan.h"

/// \file
/// Modes and owners of single entries. Folders are open handles, names single components. A false
/// result leaves the reason in errno. Callable on any thread.

/// Gives the entry \a name its planned mode and owner. If one of them must change, a file that
/// shares its content with another tree is replaced by a copy first.
///
/// Only root can give files away; for other users the owner stays as it is.
bool SettleEntry(int folder, const char *name, const PlannedEntry &entry);

/// Returns whether SettleEntry() has nothing to change in an entry in the state \a about.
bool NeedsNothing(const struct stat &about, const PlannedEntry &entry);

/// Returns whether the mode and owner in \a about are as planned, as far as SettleEntry() can set
/// them.
bool IsSettled(const struct stat &about, const PlannedEntry &entry);
