// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Candidate.h"

/// \file
/// The dialogs of an update. Main thread; each blocks in an event loop until the user has answered.
/// The end of the application's event loops counts as "no".

/// Shows the notice of a new version. Returns whether the user wants the update now.
bool AskForUpdate(const Candidate &candidate, bool forced);

/// Shows a failure. With a \a page the user may open it in the browser. Returns whether the user
/// wants to retry, which is offered if that can help.
bool ShowFailure(const Outcome &outcome, const QString &page);
