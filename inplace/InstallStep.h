// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/RunParts.h"

/// Installs the candidate, whose whole manifest must have been read: builds and verifies the new
/// tree, makes it durable and exchanges it for the installation, or stops before the exchange when
/// only fetching was asked for. Main thread; blocks in local event loops.
Outcome InstallRelease(const RunParts &parts);
