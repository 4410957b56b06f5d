// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/CommandLine.h"
#include "inplace/Layout.h"
#include "inplace/Outcome.h"
#include "inplace/StopSignals.h"

/// Goes back to the former tree, once. What is the user's own now goes along where the former
/// release is known. Otherwise that tree comes back exactly as it was put aside: nobody knows what
/// in it is the release's. Main thread.
Outcome UndoUpdate(const UpdateOptions &options, const Layout &layout, StopSignals &stop);
