// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/CommandLine.h"
#include "inplace/Layout.h"
#include "inplace/Outcome.h"
#include "inplace/StopSignals.h"

/// What several attempts of one run remember of the user's answers.
struct Conversation {
    bool isAgreed = false; ///< the user has agreed to the update
    QString page;          ///< the release's download page, if it has one that can be trusted
};

/// Makes one attempt at one task on one installation. The caller has locked the folders of
/// \a layout, except for the task Check, which changes nothing.
///
/// The steps are: fetch, decide, build, verify, make durable, exchange. Before the exchange the
/// installation is never changed; what an interrupted run leaves beside it is used or removed by
/// the next one. Main thread.
Outcome RunUpdate(const UpdateOptions &options, const Layout &layout, StopSignals &stop,
                  Conversation &conversation);
