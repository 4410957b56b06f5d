// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Candidate.h"
#include "inplace/CommandLine.h"

/// \file
/// Gets a release and checks it by itself: format, paths and links, signature. Decide() compares it
/// with the installation.

/// Fetches description, manifest and signature of the published release. Blocks in local event
/// loops, on the main thread.
Problem FetchCandidate(const UpdateOptions &options, Candidate &candidate);

/// Reads what an earlier run fetched, from a folder with the layout of a published one.
Problem ReadCandidate(const QString &folder, const UpdateOptions &options, Candidate &candidate);

/// Returns why this installation cannot use the candidate: it belongs to another application, or
/// has a file that the worker cannot fetch.
Problem CandidateProblem(const Candidate &candidate, const UpdateOptions &options,
                         const InstalledRelease &installed);
