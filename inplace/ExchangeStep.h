// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/RunParts.h"
#include "inplace/Takeover.h"

/// \file
/// The last steps of every run that changes the installation. Main thread.

/// Returns what to record about the exchange for a new tree of the candidate.
Takeover TakeoverOf(const RunParts &parts, bool isBundle);

/// Waits until the new tree and its name will survive a power loss.
///
/// \a paths  its files and folders that may not be on the disk yet.
Problem MakeDurable(const Layout &layout, const std::vector<QByteArray> &paths);

/// Exchanges the new tree, which must be durable, for the installation.
///
/// \a end  how the run ends on success: Updated, Repaired or Undone.
/// The outcome also tells after a failure whether the installation was changed.
Outcome ExchangeFor(const RunParts &parts, const Takeover &takeover, End end);
