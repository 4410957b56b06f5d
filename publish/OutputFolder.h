// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/Formats.h"
#include "release/ReleaseManifest.h"

#include <QDateTime>
#include <QString>

#include <vector>

/// \file
/// The contents of the folder that the update base URL serves. Callable on any thread.

/// One release in an output folder.
struct ListedRelease {
    QString folder;
    QString version;          ///< as shown to people; the folder's name in an old release
    int number = 0;           ///< the number that updaters compare
    bool hasVersion = false;  ///< false if the version is unknown
    bool isSigned = false;    ///< whether there is a signature; by whom is not checked
    bool isAnnounced = false; ///< whether update.json names it
    /// Whether update.json names it in another letter case or normalisation, which some volumes and
    /// servers take for its name, and some do not.
    bool isAlmostAnnounced = false;
    QDateTime published; ///< when its manifest was written
    ReleaseManifest manifest;
    QString problem; ///< why its manifest could not be read; empty when it was

    quint64 bytes() const;
};

/// The contents of an output folder.
struct OutputState {
    std::vector<ListedRelease> releases; ///< newest first; those without a version last
    PublishedDescription announced;      ///< the content of update.json, as far as it could be read
    bool hasAnnouncement = false;        ///< whether there is an update.json
    QStringList announcementProblems;    ///< what is wrong with it
};

/// Reads update.json and the manifests of all releases in \a outputDir. A folder without a manifest
/// is no release; links are not followed.
OutputState ReadOutput(const QString &outputDir);

/// Reads the manifest of the release in \a folder of \a outputDir. Returns why that failed, or
/// empty text.
QString ReadManifestFile(const QString &outputDir, const QString &folder, QByteArray &content,
                         ReleaseManifest &manifest);
