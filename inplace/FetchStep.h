// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Candidate.h"
#include "inplace/CommandLine.h"

/// \file
/// Where a release comes from. Checks what the release says about itself: format, paths and links,
/// signature. How it compares with the installation is decided by Decide().

/// Fetches description, manifest and signature of the published release. Blocks in local event
/// loops, on the main thread.
///
/// \a known  the content of the installed manifest, or nothing: when it is the published one, its
///          paths are not read, and the lists of the candidate's manifest stay empty.
Problem FetchCandidate(const UpdateOptions &options, const QByteArray &known, Candidate &candidate);

/// Reads what an earlier run fetched, from a folder with the layout of a published one.
Problem ReadCandidate(const QString &folder, const UpdateOptions &options, const QByteArray &known,
                      Candidate &candidate);

/// Returns why the candidate is not one for this installation: it is another application's.
Problem CandidateProblem(const Candidate &candidate, const UpdateOptions &options,
                         const InstalledRelease &installed);
