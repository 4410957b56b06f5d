// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Candidate.h"

/// What an update would have to fetch.
struct FetchEstimate {
    qint64 files = 0;
    qint64 bytes = 0;
};

/// Returns what the folder \a install lacks, by sizes and the installed manifest, which is
/// believed; files that it does not list are read. Changes nothing.
FetchEstimate EstimateFetch(const QString &install, const Candidate &candidate,
                            const InstalledRelease &installed);
