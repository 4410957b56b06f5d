// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/FetchStep.h"
#include "inplace/NewTree.h"
#include "inplace/StopSignals.h"
#include "inplace/Takeover.h"

/// What several attempts of one run remember of the user's answers.
struct Conversation {
    bool isAgreed = false; ///< the user has agreed to the update
    QString page;          ///< the release's download page, if it has one that can be trusted
};

/// One attempt at one task on one installation. Main thread.
///
/// The steps are: fetch, build, verify, make durable, exchange. Before the exchange the
/// installation is never changed; what an interrupted run leaves beside it is used or removed by
/// the next one.
class UpdateRun {
public:
    /// The caller has locked the folders of \a layout, except for the task Check, which changes
    /// nothing. All arguments must live as long as this.
    UpdateRun(const UpdateOptions &options, const Layout &layout, StopSignals &stop,
              Conversation &conversation);

    /// Does the task. Call it once.
    Outcome attempt();

private:
    Problem begin();
    Outcome check();
    Outcome update();
    Outcome undo();
    Outcome undoWhole();
    Outcome install();
    Outcome leaveReady();
    Outcome exchange(const Takeover &takeover, End end);
    Takeover takeover(bool isBundle) const;

    void removeLeftovers() const;
    Outcome outcome(End end, const QString &message) const;
    Outcome outcome(const Problem &problem) const;

    const UpdateOptions &m_options;
    const Layout &m_layout;
    StopSignals &m_stop;
    Conversation &m_conversation;
    const StateFolder m_state;
    InstalledRelease m_installed;
    Candidate m_candidate;
    bool m_isChanged = false;
    qint64 m_files = -1;
    qint64 m_bytes = -1;
};
