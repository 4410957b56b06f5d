// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// What came of an update.
struct Outcome {
    bool success = false; ///< the installation is at the published release
    bool update = false;  ///< files of the installation were replaced or added
    QString message;
};

/// Says \a text on standard error, as one line.
void SayProgress(const QString &text);

/// Says \a outcome: with \a console as one compact JSON object on standard output, in any case as a
/// line on standard error. Returns the program's exit code.
int Report(const Outcome &outcome, bool console);
