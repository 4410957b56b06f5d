// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/CommandLine.h"
#include "publish/Report.h"

/// Publishes the release that \a options describe, or changes nothing; a dry run only prints what
/// would change. Prints results and problems. Returns the program's exit code.
int Publish(const PublishOptions &options, Report &report);
