// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/CommandLine.h"
#include "inplace/Layout.h"
#include "inplace/Outcome.h"
#include "inplace/StopSignals.h"

/// Goes back to the previous tree, once, with the user's current files. If the previous release had
/// an old manifest or none, the tree comes back as it is: which of its files are the release's is
/// unknown. Main thread.
Outcome UndoUpdate(const UpdateOptions &options, const Layout &layout, StopSignals &stop);
