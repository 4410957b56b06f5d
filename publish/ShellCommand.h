// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Runs \a command in the shell, with \a argument appended as one word, and waits for it to end. It
/// gets the terminal and the standard streams of this program; a terminal's interrupt ends the
/// command and not this program, and other requests to end are passed on to it.
///
/// \a outputToErrors  whether its standard output goes to this program's standard error.
/// Returns what went wrong, which is anything but exit code 0, or empty text. To be called when no
/// other thread runs; not to be called twice at once.
QString RunShellCommand(const QString &command, const QString &argument, bool outputToErrors);
