// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/InstalledRelease.h"

#include <optional>

/// A release that may be installed. Everything about it that can be checked has been checked.
struct Candidate {
    ReleaseManifest manifest;
    QByteArray content;     ///< the manifest's bytes
    QByteArray signature;   ///< may be empty if no key is required
    QByteArray description; ///< the bytes of update.json
    QString folder;         ///< of the files, beside update.json
    int version = 0;
    QString versionString;
    int minVersion = 0;
    QString page; ///< for the user's browser; https, or empty
};

/// A number that was installed, and the manifest that had it.
struct HighestNumber {
    int number = 0;
    QByteArray sha256; ///< of the manifest's bytes, in hexadecimal digits
};

/// How a candidate compares with an installation.
enum class Decision {
    Install,
    UpToDate,   ///< it is the installed release
    Older,      ///< its number is below one that was installed
    SameNumber, ///< a different release with the number of one that was installed
};

/// Decides by the numbers and the bytes of the manifests.
///
/// \a highest     the highest number ever installed, or nothing.
/// \a withKeys    whether signatures are required: only then is another release with the same
///                number a fraud.
/// \a allowOlder  whether to install an older one too.
Decision Decide(const Candidate &candidate, const InstalledRelease &installed,
                const std::optional<HighestNumber> &highest, bool withKeys, bool allowOlder);

/// Returns whether the user of an installation may not put the candidate off: it is at or below the
/// minimum. If the installed version is unknown, the user may.
bool IsForced(const Candidate &candidate, const InstalledRelease &installed);

/// Returns the identifiers that the release may have: the requested one, or those of the
/// installation's property list and of its installed manifest, either of which may be damaged.
/// Empty if unknown.
QStringList WantedApplications(const QString &asked, const InstalledRelease &installed);

/// Returns the digest that identifies a manifest.
QByteArray ManifestDigest(const QByteArray &content);
