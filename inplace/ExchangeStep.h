// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/RunParts.h"
#include "inplace/Takeover.h"

/// \file
/// The last steps of every run that changes the installation. Main thread.

/// Returns what to note beside the exchange for a new tree, a bundle or not, of the candidate.
Takeover TakeoverOf(const RunParts &parts, bool isBundle);

/// Waits until the new tree and its name will survive a power loss.
Problem MakeDurable(const Layout &layout);

/// Exchanges the new tree, which is durable, for the installation.
///
/// \a end  how the run ends if that goes well: Updated, Repaired or Undone.
/// The outcome tells whether the installation was changed, after a failure too.
Outcome ExchangeFor(const RunParts &parts, const Takeover &takeover, End end);
