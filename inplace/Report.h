// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"

/// Prints \a text on standard error, as one line after the program's name.
void SayProgress(const QString &text);

/// Prints \a outcome as a line on standard error, and with \a console also as one compact JSON
/// object on standard output. Returns the program's exit code.
///
/// Text from a server is printed with control characters replaced, and cut to a sensible length.
int Report(const Outcome &outcome, bool console);
