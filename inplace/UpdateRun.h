// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/CommandLine.h"
#include "inplace/Layout.h"
#include "inplace/Outcome.h"
#include "inplace/StopSignals.h"

/// What the tries of one run have in common with the user.
struct Conversation {
    bool isAgreed = false; ///< the user wants the update
    QString page;          ///< the download page of the release, if it tells one to be believed
};

/// Tries one task on one installation, once. The folders of \a layout are locked by the caller, but
/// for the task Check, which changes nothing.
///
/// The steps are: fetch, decide, build, verify, make durable, exchange. Before the exchange the
/// installation is never changed; what an interrupted run leaves beside it is used or removed by
/// the next one. Main thread.
Outcome RunUpdate(const UpdateOptions &options, const Layout &layout, StopSignals &stop,
                  Conversation &conversation);
