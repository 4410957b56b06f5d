// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// The ways in which a session ends.
enum class SessionOutcome {
    Restarted,
    AlreadyRunning,
    BaseUrlNotValid,
    DescriptionUrlNotValid,
    FetchFailed,     ///< console mode
    FetchGivenUp,    ///< windowed mode, after the user refused to retry
    ContentNotValid, ///< console mode
    ContentGivenUp,  ///< windowed mode, after the user refused to retry
    NoUpdateNeeded,
    NoticeAccepted,
    NoticeDeclined,
    Count, ///< how many there are; no outcome itself
};

/// Whether a session's end starts the host application.
enum class HostStart { Never, WindowedOnly, Always };

/// What goes with an outcome. The texts are source texts for the toolkit's translation call: the
/// markers in the context "QApplication", the others in the context "QObject".
struct SessionOutcomeInfo {
    SessionOutcome outcome;
    const char *title;   ///< of the error dialog; null when no error is reported
    const char *message; ///< of the error dialog or status report; may hold one %1
    bool retry;          ///< whether the error dialog offers another try
    HostStart hostStart;
    const char *consoleMarker; ///< the last line of the log
    const char *windowedMarker;
    int exitCode; ///< not a success flag
};

/// Returns the one row for \a outcome, which is not Count. Callable on any thread.
const SessionOutcomeInfo &InfoOf(SessionOutcome outcome);
