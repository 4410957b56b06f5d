// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Runs \a command in the shell, with \a argument appended as one word, and waits for it to end.
/// The command gets the terminal and the standard streams of this program. Ctrl-C ends the command
/// and not this program; SIGTERM and SIGHUP are passed on to it, and reach this program at its end
/// if it succeeds all the same.
///
/// \a outputToErrors  whether its standard output goes to this program's standard error.
/// Returns what went wrong, or empty text for exit code 0. Call it while no other thread runs.
QString RunShellCommand(const QString &command, const QString &argument, bool outputToErrors);
