// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/CommandLine.h"
#include "inplace/Outcome.h"
#include "inplace/StopSignals.h"

/// Does what the \a options ask for to an installation.
///
/// A whole new tree is built beside the installation and takes its place at one instant. Until that
/// instant the installation is unchanged, whatever goes wrong or interrupts the process; from then
/// on it is the new release.
///
/// Blocks until it is done; shows dialogs unless \a options ask for the console, and lets the user
/// try again after a failure. Main thread.
Outcome UpdateInPlace(const UpdateOptions &options, StopSignals &stop);
