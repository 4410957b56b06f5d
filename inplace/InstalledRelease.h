// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Layout.h"
#include "release/ReleaseManifest.h"

#include <optional>

/// The known facts about an installation.
struct InstalledRelease {
    bool isBundle = false;
    QString identifier;            ///< of the bundle's property list; empty when there is none
    std::optional<int> listNumber; ///< the property list's version as a number
    QString versionString;         ///< as shown to people; may be empty

    bool hasManifest = false; ///< the installed manifest exists and can be read
    QByteArray content;       ///< of the installed manifest
    QByteArray signature;     ///< beside it; may be empty
    ReleaseManifest manifest; ///< with hasManifest
    bool isReplaced = false;  ///< somebody has put another release there since the manifest's
    QString unreadable;       ///< why something that is there could not be read; usually empty

    /// The higher of the two version numbers, if any is known.
    std::optional<int> number() const;
    /// The installed manifest, or null if it is unknown which files are the release's.
    const ReleaseManifest *known() const
    {
        return hasManifest && !isReplaced ? &manifest : nullptr;
    }
    /// Whether the release with this manifest is installed. Its files are not looked at.
    bool isOf(const QByteArray &manifestContent) const
    {
        return !isReplaced && content == manifestContent;
    }
};

/// Reads what \a layout names. Anything missing or unusable counts as unknown. If the system fails
/// to read something, `unreadable` says why, and nothing must be concluded from the result. Of the
/// installed manifest usually only the bytes are read; ReadInstalledManifest() does the rest.
InstalledRelease FindInstalled(const Layout &layout);

/// Reads what the installed manifest says.
///
/// \a content, \a manifest  one that was read already, or nothing: it is not read again if it is
/// the installed one.
void ReadInstalledManifest(InstalledRelease &installed, const QByteArray &content = QByteArray(),
                           const ReleaseManifest &manifest = ReleaseManifest());

/// Returns why a file that seems to be missing or empty may have content nevertheless, or empty
/// text.
QString DoubtAbout(const QString &path);

/// The same of a folder that seems to be no bundle: why it may be one.
QString DoubtAboutKind(const QString &folder);

/// Returns the content of a regular file of at most \a limit bytes, or null.
QByteArray ReadSmall(const QString &path, qint64 limit);
