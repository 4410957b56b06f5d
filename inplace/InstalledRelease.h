// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Layout.h"
#include "release/ReleaseManifest.h"

#include <optional>

/// What is known of an installation as it stands.
struct InstalledRelease {
    bool isBundle = false;
    QString identifier;            ///< of the bundle's property list; empty when there is none
    std::optional<int> listNumber; ///< the property list's version as a number
    QString versionString;         ///< as shown to people; may be empty

    bool hasManifest = false; ///< the installed manifest is there and can be read
    QByteArray content;       ///< of the installed manifest, and
    QByteArray signature;     ///< what lies beside it; may be empty
    ReleaseManifest manifest; ///< with hasManifest

    /// The highest number that one of them tells.
    std::optional<int> number() const;
    /// The installed manifest, or null when nobody knows whose a file is.
    const ReleaseManifest *known() const { return hasManifest ? &manifest : nullptr; }
};

/// Reads what \a layout names. What is missing or cannot be used is not known.
InstalledRelease ReadInstalled(const Layout &layout);

/// Returns the content of a regular file of at most \a limit bytes, or null.
QByteArray ReadSmall(const QString &path, qint64 limit);
