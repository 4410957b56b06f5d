// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/Report.h"

#include <QString>

/// Removes all releases from \a outputDir except the newest \a keep and the announced one, oldest
/// first. A release disappears atomically. Releases of unknown age, one that is announced in
/// another spelling, and anything that is not a release, are left alone. Returns the program's exit
/// code.
int Prune(const QString &outputDir, int keep, Report &report);
