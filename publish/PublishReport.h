// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/CommandLine.h"
#include "publish/Report.h"
#include "release/ReleaseManifest.h"

/// Says what was published with \a options, or what would be, and what that changes then.
void DescribeRelease(const PublishOptions &options, const ReleaseManifest &manifest,
                     Report &report);
