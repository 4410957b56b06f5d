// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Layout.h"
#include "inplace/TreePlan.h"

/// \file
/// What must hold before any file is requested. Each function returns the obstacle, or no problem.

/// The installation is there, is no volume itself, and can be replaced: it lies on a volume that
/// can be written, in a folder that can be written, and is no copy that the system runs a new
/// bundle from. Changes nothing.
Problem InstallProblem(const Layout &layout);

/// Makes the staging folder if it is missing. For root it must belong to root and be writable by
/// nobody else, with what the program keeps in it.
Problem MakeStaging(const Layout &layout);

/// No other volume is mounted below the installation that \a there lists.
Problem InnerVolumeProblem(const Layout &layout, const TreeEntries &there);

/// The installation's volume stores every name of the release as it is, seen by trying those that
/// are not plain ones beside the installation.
Problem NamesProblem(const Layout &layout, const ReleaseManifest &release);

/// There is room for the files that are \a missing, and 64 MiB to spare, on the volume of the
/// installation and, for what is still to be fetched, on the one of the staging folder.
Problem RoomProblem(const Layout &layout, const std::vector<const PlannedEntry *> &missing);
