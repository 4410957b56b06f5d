// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Candidate.h"
#include "inplace/CommandLine.h"

/// \file
/// Where a release comes from. What is checked here is what the release says of itself: format,
/// paths and links, signature. What it is to the installation is decided by Decide().

/// Fetches description, manifest and signature of the published release. Blocks in local event
/// loops, on the main thread.
Problem FetchCandidate(const UpdateOptions &options, Candidate &candidate);

/// Reads what a former run has fetched, from a folder that is laid out as a published one.
Problem ReadCandidate(const QString &folder, const UpdateOptions &options, Candidate &candidate);

/// Returns why the candidate is not one for this installation: it is another application's, or has
/// a file that the worker cannot fetch.
Problem CandidateProblem(const Candidate &candidate, const UpdateOptions &options,
                         const InstalledRelease &installed);
