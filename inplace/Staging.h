// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"
#include "inplace/TreePlan.h"

/// Removes everything from the worker's staging folder except files that are still missing: links,
/// which the worker would follow, and leftovers of abandoned updates. Makes the folder if it is
/// missing.
Problem PruneStaging(const QString &folder, const std::vector<const PlannedEntry *> &missing);
