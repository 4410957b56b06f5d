// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Outcome.h"

/// Says \a text on standard error, as one line behind the program's name.
void SayProgress(const QString &text);

/// Says \a outcome: with \a console as one compact JSON object on standard output, in any case as a
/// line on standard error. Returns the program's exit code.
///
/// What a server has sent is in it with control characters replaced and cut to a sensible length.
int Report(const Outcome &outcome, bool console);
