// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Candidate.h"
#include "inplace/CommandLine.h"
#include "inplace/Outcome.h"
#include "inplace/StopSignals.h"

/// What one run works with, and what its first step found. Each step gets it from the one before
/// and changes nothing in it. What it refers to must live as long as this.
struct RunParts {
    const UpdateOptions &options;
    const Layout &layout;
    StopSignals &stop;
    InstalledRelease installed; ///< as it stands before the run
    Candidate candidate;        ///< the release in question
};

/// Returns how a run ends that is about \a candidate.
Outcome OutcomeOf(const Candidate &candidate, End end, const QString &message);
Outcome OutcomeOf(const Candidate &candidate, const Problem &problem);

/// Removes what abandoned updates left. Anything that stays is harmless.
void RemoveLeftovers(const Layout &layout);
