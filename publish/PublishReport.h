// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/CommandLine.h"
#include "publish/Report.h"
#include "release/ReleaseManifest.h"

/// Prints what was published with \a options; for a dry run, what would be published and what would
/// change.
void DescribeRelease(const PublishOptions &options, const ReleaseManifest &manifest,
                     Report &report);
