// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/CommandLine.h"

#include <QStringList>

/// \file
/// Checks to make before a release is scanned. Callable on any thread.

/// Returns what is wrong with the options and with the folders they name.
QStringList OptionProblems(const PublishOptions &options);

/// The number that an updater compares, made from a version's text.
int NumberOf(const QString &version);
