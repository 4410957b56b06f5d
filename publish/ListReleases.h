// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/Report.h"

#include <QString>

/// Lists the releases in \a outputDir, newest first, and prints what is wrong with them and with
/// update.json, as far as this shows without reading their files. Returns the program's exit code:
/// 0 only when nothing is wrong.
int ListReleases(const QString &outputDir, Report &report);
