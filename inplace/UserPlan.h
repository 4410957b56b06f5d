// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/PlanDraft.h"

/// Adds the user's entries of the installation to a \a draft that has the whole release already,
/// under the paths that are free. PlanTree() says which entries are the user's. Callable on any
/// thread.
void PlanUserEntries(const PlanSources &sources, PlanDraft &draft);
