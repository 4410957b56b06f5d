// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/CommandLine.h"
#include "inplace/Outcome.h"
#include "inplace/StopSignals.h"

/// Does to an installation what the \a options say.
///
/// Builds a complete new tree beside the installation and exchanges the two atomically. Until then
/// the installation is unchanged, whatever fails or interrupts the process; from then on it is the
/// new release.
///
/// Blocks until it is done; shows dialogs unless \a options ask for the console, and lets the user
/// try again after a failure. Main thread.
Outcome UpdateInPlace(const UpdateOptions &options, StopSignals &stop);
