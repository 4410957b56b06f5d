// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/CommandLine.h"
#include "publish/Report.h"
#include "release/ReleaseManifest.h"

/// Prints what was published with \a options, or would be, and what changes.
void DescribeRelease(const PublishOptions &options, const ReleaseManifest &manifest,
                     Report &report);
