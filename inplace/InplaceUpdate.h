// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/CommandLine.h"
#include "inplace/Report.h"

/// Brings an installation to the published release.
///
/// First an interrupted update is put right, whether or not the release can be fetched. Whatever
/// then goes wrong, the installation is as it was before, but for a manifest that cannot be written
/// when all files are there; whatever interrupts the process, each file's content is there under
/// its name, as its ".old" copy or in the staging folder, and the next run completes the update.
///
/// Blocks until the update is done; shows the progress dialog unless \a options ask for the
/// console. Main thread.
Outcome UpdateInPlace(const UpdateOptions &options);
