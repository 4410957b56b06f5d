// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/Report.h"
#include "release/ReleaseManifest.h"

#include <QString>

/// Prints what publishing the release \a next in \a outputDir would change compared with the newest
/// release there, path by path, and how much a user with that release would fetch. Writes nothing.
void DescribeDifference(const QString &outputDir, const ReleaseManifest &next, Report &report);
