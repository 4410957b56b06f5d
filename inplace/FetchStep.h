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
///
/// \a known  the content of the installed manifest, or nothing. If it is the published one, its
///           paths are not read, and the lists in the candidate's manifest stay empty.
Problem FetchCandidate(const UpdateOptions &options, const QByteArray &known, Candidate &candidate);

/// Reads what an earlier run fetched, from a folder with the layout of a published one. Fails with
/// NothingReady if a file is missing, and with Storage if one cannot be read.
Problem ReadCandidate(const QString &folder, const UpdateOptions &options, const QByteArray &known,
                      Candidate &candidate);

/// Returns why this installation cannot use the candidate: it belongs to another application.
Problem CandidateProblem(const Candidate &candidate, const UpdateOptions &options,
                         const InstalledRelease &installed);
