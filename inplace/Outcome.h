// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// \file
/// The ways in which a run can end. Each has one row in one table: its word in the report, its exit
/// code and whether a retry can help.

enum class End {
    Updated,
    Repaired,
    Undone,
    UpToDate,
    Older,         ///< the published release is older than the installed one; nothing to do
    Available,     ///< there is an update; only that was asked
    Ready,         ///< fetched and verified, to be applied later
    Cancelled,     ///< by the user or by a signal
    Postponed,     ///< the user does not want the update now
    Network,       ///< the server cannot be reached, or answers with an error
    Stalled,       ///< the server has stopped sending
    TooLong,       ///< the server sends more than is listed
    Description,   ///< update.json cannot be used
    Manifest,      ///< the manifest cannot be used
    Signature,     ///< no known key signed the release
    Application,   ///< the release belongs to another application
    SameNumber,    ///< a different release with a known version number
    NoRoom,        ///< too little room on a volume
    Folders,       ///< a folder is missing, or one is inside the other
    MountPoint,    ///< the installation is a volume, or contains one
    NotWritable,   ///< the folder around the installation, or the staging folder
    ReadOnly,      ///< a read-only volume, or a bundle that the system runs from a copy
    Names,         ///< the volume cannot store the release's names
    StagingOwner,  ///< a staging folder that others can write to
    Busy,          ///< another update is running
    Download,      ///< a downloaded file is not the release's, or cannot be stored
    Verification,  ///< the new tree does not match the release
    Storage,       ///< the new tree cannot be built or made durable
    Exchange,      ///< the two trees cannot be exchanged
    NothingReady,  ///< nothing complete was fetched before
    NothingToUndo, ///< there is no previous tree
    NoDisplay,     ///< windows are requested, but there is no display
};

/// What an end means.
struct EndInfo {
    End end;
    const char *code; ///< the word in the report, which never changes
    bool success;     ///< exit code 0
    bool retry;       ///< a retry can help
};

/// Returns the row of \a end.
const EndInfo &InfoOf(End end);

/// The result of a run.
struct Outcome {
    End end = End::UpToDate;
    QString message;
    bool update = false;   ///< the installation was changed, or can be (Available, Ready)
    bool forced = false;   ///< the update may not be put off; for Available
    int version = 0;       ///< of the release in question; 0 if it has none
    QString versionString; ///< the same as shown to people
    qint64 files = -1;     ///< fetched, or to fetch; -1 if not applicable
    qint64 bytes = -1;     ///< of these files

    bool isSuccess() const { return InfoOf(end).success; }
};

/// Why a step failed, as a value; false if it succeeded.
struct Problem {
    End end = End::UpToDate;
    QString message; ///< for the user; empty when there is no problem

    explicit operator bool() const { return !message.isEmpty(); }
};

/// What a step says that ends because a stop is wanted.
Problem CancelledProblem();
