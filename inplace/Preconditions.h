// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Layout.h"
#include "inplace/TreePlan.h"

/// \file
/// Conditions that must hold before any file is requested. Each function returns the obstacle, or
/// no problem.

/// The installation exists, is not a volume itself, and can be replaced: it is on a writable
/// volume, in a writable folder, and is not a copy from which the system runs a new bundle. Changes
/// nothing.
Problem InstallProblem(const Layout &layout);

/// Makes the staging folder if it is missing. For root, it and the program's folders in it must
/// belong to root and be writable by nobody else.
Problem MakeStaging(const Layout &layout);

/// No other volume is mounted below the installation that \a there lists.
Problem InnerVolumeProblem(const Layout &layout, const TreeEntries &there);

/// The installation's volume stores every name of the release unchanged. Tries all unusual names
/// beside the installation.
Problem NamesProblem(const Layout &layout, const ReleaseManifest &release);

/// There is space for the \a missing files, and 64 MiB to spare, on the volume of the installation
/// and, for those still to fetch, on that of the staging folder.
Problem RoomProblem(const Layout &layout, const std::vector<const PlannedEntry *> &missing);
