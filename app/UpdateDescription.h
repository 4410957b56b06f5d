// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// What the vendor publishes about the newest version. Version numbers are on the scale of
/// GetMainExecutableVersionNum().
struct UpdateDescription {
    int version = 0;       ///< number of the newest version
    QString versionString; ///< the newest version as shown to people
    QString folder;        ///< kept for the in-place update; the session does not use it
    int minVersion = 0;    ///< hosts at or below it cannot put the update off
    QString downloadUrl;   ///< what the browser opens on consent
};

/// What a description means for a host of a given version.
enum class UpdateDecision {
    NotNeeded,
    Optional, ///< the user may put it off
    Forced,   ///< the user cannot put it off
};

/// Reads a UTF-8 JSON document into \a description.
///
/// Returns false, and leaves \a description unchanged, if the document is invalid, empty or not an
/// object. A missing key, a value of another type and a number that is not an int read as 0 or
/// empty text. Callable on any thread.
bool ParseUpdateDescription(const QByteArray &content, UpdateDescription &description);

/// Returns what \a description means for a host with the number \a hostVersion.
/// Callable on any thread.
UpdateDecision DecideUpdate(int hostVersion, const UpdateDescription &description);
