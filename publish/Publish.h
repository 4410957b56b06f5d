// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/CommandLine.h"

/// Publishes the release that \a options describe, or changes nothing. Says on standard output what
/// was done and on standard error what is wrong. Returns the program's exit code.
int Publish(const PublishOptions &options);
