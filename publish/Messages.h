// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// \file
/// What the program says, in UTF-8. Control characters are replaced, so that no name can change the
/// look of a terminal.

/// Says \a text, of one or more lines, on standard output.
void Say(const QString &text);

/// Says \a text on standard error as a warning of one line.
void Warn(const QString &text);

/// Says the \a problems on standard error, one line each. Returns the exit code of a refusal or
/// failure.
int Refuse(const QStringList &problems);

/// Says on standard error what is wrong with the command line. Returns the exit code of bad usage.
int Complain(const QString &text);
