// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

class QString;

/// Runs one update session from start to end and returns the process's exit code, which tells how
/// the session ended and is not a success flag (see SessionOutcome.h).
///
/// \a argc, \a argv    the program's own; the toolkit removes its options from them.
/// \a baseUrl          where the vendor publishes updates, without a trailing slash.
/// \a descriptionName  the update description's name below \a baseUrl.
///
/// Makes the application object: call it once per process, on the main thread, before using
/// anything of Qt that needs one.
int RunUpdateSession(int &argc, char **argv, const QString &baseUrl,
                     const QString &descriptionName);
