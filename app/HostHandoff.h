// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class CUpdateError;

/// \file
/// How a session talks to the host application, and shows errors to the user. Private to the
/// session driver; call on the main thread. None of these functions reports a failure.

/// Starts the host application, detached, with two arguments: the updater's own path and
/// "no_check".
///
/// \a exeName  resolved against the folder of the updater's executable; nothing is started when
///             it is empty.
void StartMainExecute(const QString &exeName);

/// Writes the status report, one compact JSON object without a line end, to standard output,
/// flushes it and logs the same text at debug level.
///
/// \a success   the session reached a decision.
/// \a update    a newer version exists and the user accepted it.
/// \a errormsg  the outcome's message.
void ReportErrorToMainExecute(bool success, bool update, const QString &errormsg);

/// Shows \a title and \a message in \a dialog and waits for the user.
///
/// \a retry  whether another try is offered. Returns true when the user chose it.
bool ShowErrorDialog(CUpdateError &dialog, const QString &title, const QString &message,
                     bool retry);
