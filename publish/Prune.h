// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/Report.h"

#include <QString>

/// Removes all releases from \a outputDir but the newest \a keep and the announced one, the oldest
/// first. A release goes out of sight at one stroke. What is no release, and releases of which
/// nobody knows how old they are, are left alone. Returns the program's exit code.
int Prune(const QString &outputDir, int keep, Report &report);
