// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"
#include "inplace/TreePlan.h"

/// Removes from the worker's staging folder whatever is not a file that is still missing: links,
/// which the worker would follow, and what an update that was given up has left. Makes the folder
/// if it is missing.
Problem PruneStaging(const QString &folder, const std::vector<const PlannedEntry *> &missing);
