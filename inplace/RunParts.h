// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Candidate.h"
#include "inplace/CommandLine.h"
#include "inplace/Outcome.h"
#include "inplace/StopSignals.h"

/// What one run works with, and what its first step found. It is passed from step to step, and no
/// step changes it. What it refers to must live as long.
struct RunParts {
    const UpdateOptions &options;
    const Layout &layout;
    StopSignals &stop;
    InstalledRelease installed; ///< its state before the run
    Candidate candidate;        ///< the release to install
};

/// Returns the outcome of a run that installs \a candidate.
Outcome OutcomeOf(const Candidate &candidate, End end, const QString &message);
Outcome OutcomeOf(const Candidate &candidate, const Problem &problem);

/// Removes what abandoned updates left. Anything that stays is harmless.
void RemoveLeftovers(const Layout &layout);
