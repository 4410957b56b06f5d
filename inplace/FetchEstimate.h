// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Candidate.h"

/// The amount that an update would fetch.
struct FetchEstimate {
    qint64 files = 0;
    qint64 bytes = 0;
};

/// Returns what the folder \a install lacks, judged by sizes and by the installed manifest, which
/// is trusted; files that it does not list are read. Changes nothing.
FetchEstimate EstimateFetch(const QString &install, const Candidate &candidate,
                            const InstalledRelease &installed);
