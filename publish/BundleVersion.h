// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// \file
/// What a release says about itself, and what is announced beside it. Callable on any thread.

/// What is read from the property list of an application bundle.
struct BundleFacts {
    bool isBundle = false; ///< whether there is a property list at all
    QString identifier;    ///< empty where it has none
    QString version;       ///< empty where it has none
};

/// Reads Contents/Info.plist below \a releaseDir.
BundleFacts ReadBundleFacts(const QString &releaseDir);

/// Returns why hosts that installed the bundle would not consider themselves to be \a version, or
/// empty text.
QString OtherVersionReason(const BundleFacts &facts, const QString &version);

/// Returns why no host would be offered the \a version if it were published in \a outputDir next,
/// or empty text.
QString NotAboveReason(const QString &outputDir, const QString &version);

/// Whether the release that is announced in \a outputDir has a signature.
bool IsAnnouncedSigned(const QString &outputDir);
