// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/FetchStep.h"
#include "inplace/NewTree.h"
#include "inplace/StopSignals.h"
#include "inplace/Takeover.h"

/// What the tries of one run have in common with the user.
struct Conversation {
    bool isAgreed = false; ///< the user wants the update
    QString page;          ///< the download page of the release, if it tells one to be believed
};

/// One try of one task on one installation. Main thread.
///
/// The steps are: fetch, build, verify, make durable, exchange. Before the exchange the
/// installation is never changed; what an interrupted run leaves beside it is used or removed by
/// the next one.
class UpdateRun {
public:
    /// The folders of \a layout are locked by the caller, but for the task Check, which changes
    /// nothing. All must live as long as this.
    UpdateRun(const UpdateOptions &options, const Layout &layout, StopSignals &stop,
              Conversation &conversation);

    /// Does the task. To be called once.
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
