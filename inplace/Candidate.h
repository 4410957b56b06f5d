// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/InstalledRelease.h"

#include <optional>

/// A release that may be installed, after everything about it that can be checked was checked.
struct Candidate {
    ReleaseManifest manifest;
    QByteArray content;     ///< the manifest's bytes
    QByteArray signature;   ///< may be empty when no key is demanded
    QByteArray description; ///< the bytes of update.json
    QString folder;         ///< of the files, beside update.json
    int version = 0;
    QString versionString;
    int minVersion = 0;
    QString page; ///< for the user's browser; https, or empty
};

/// A number that was installed, and which manifest had it.
struct HighestNumber {
    int number = 0;
    QByteArray sha256; ///< of the manifest's bytes, in hexadecimal digits
};

/// How a candidate compares with an installation.
enum class Decision {
    Install,
    UpToDate,   ///< it is what is installed
    Older,      ///< its number is below one that was installed
    SameNumber, ///< a different release with the number of one that was installed
};

/// Decides by the numbers and the bytes of the manifests.
///
/// \a highest     what was installed at some time, or nothing.
/// \a withKeys    whether signatures are demanded: only then is
///                another release with the same number a fraud.
/// \a allowOlder  an older one is to be installed too.
Decision Decide(const Candidate &candidate, const InstalledRelease &installed,
                const std::optional<HighestNumber> &highest, bool withKeys, bool allowOlder);

/// Returns whether the user of an installation may not put the candidate off: it is at or below the
/// minimum. If the installed version is unknown, the user may.
bool IsForced(const Candidate &candidate, const InstalledRelease &installed);

/// Returns the identifiers that the release may have: the one that was asked for, or what the
/// installation's property list and its installed manifest say, either of which may be damaged.
/// Empty if unknown.
QStringList WantedApplications(const QString &asked, const InstalledRelease &installed);

/// Returns the digest that identifies a manifest.
QByteArray ManifestDigest(const QByteArray &content);
