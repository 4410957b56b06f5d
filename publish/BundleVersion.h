// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// \file
/// The facts that a release's bundle states, and the release announced in the output folder.
/// Callable on any thread.

/// The facts in the property list of an application bundle.
struct BundleFacts {
    bool isBundle = false; ///< whether there is a property list at all
    QString identifier;    ///< empty if missing
    QString version;       ///< empty if missing
};

/// Reads Contents/Info.plist below \a releaseDir.
BundleFacts ReadBundleFacts(const QString &releaseDir);

/// Returns why hosts that installed the bundle would not consider themselves to be \a version, or
/// empty text.
QString OtherVersionReason(const BundleFacts &facts, const QString &version);

/// Returns why no host would be offered the \a version if it were published in \a outputDir now, or
/// empty text.
QString NotAboveReason(const QString &outputDir, const QString &version);

/// Whether the release that is announced in \a outputDir has a signature.
bool IsAnnouncedSigned(const QString &outputDir);
