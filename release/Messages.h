// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// \file
/// The output of the command-line programs, in UTF-8. On standard error, each text begins with the
/// name of the program (QCoreApplication::applicationName()).

/// Returns \a text as it is printed: control characters and those that change the direction of text
/// are replaced, so that no file name or server's answer can garble a terminal; lines of more than
/// 2,000 characters are cut and end in "...". Line ends are kept.
QString Printable(const QString &text);

/// Prints \a text, of one or more lines, on standard output. Returns whether that could be written.
bool Say(const QString &text);

/// Prints \a text on standard error as a one-line warning.
void Warn(const QString &text);

/// Prints the \a problems on standard error, one line each. Returns the exit code of a refusal or
/// failure.
int Refuse(const QStringList &problems);

/// Prints on standard error that standard output cannot be written. Returns the exit code of that
/// failure.
int OutputFailure();

/// Prints on standard error what is wrong with the command line. Returns the exit code of bad
/// usage.
int Complain(const QString &text);
