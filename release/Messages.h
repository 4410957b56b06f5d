// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// \file
/// What the command-line programs say, in UTF-8. On standard error, each text begins with the name
/// of the program (QCoreApplication::applicationName()).

/// Returns \a text as it is printed: control characters and those that turn the direction of text
/// are replaced, so that no file name and no answer of a server can change the look of a terminal;
/// lines of more than 2,000 characters are cut and end in "...". Line ends stay.
QString Printable(const QString &text);

/// Says \a text, of one or more lines, on standard output.
void Say(const QString &text);

/// Says \a text on standard error as a warning of one line.
void Warn(const QString &text);

/// Says the \a problems on standard error, one line each. Returns the exit code of a refusal or
/// failure.
int Refuse(const QStringList &problems);

/// Says on standard error what is wrong with the command line. Returns the exit code of bad usage.
int Complain(const QString &text);
