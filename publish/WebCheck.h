// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ReleaseManifest.h"

#include <QString>
#include <QStringList>

/// Fetches every file that \a manifest lists from below \a baseUrl and the manifest's folder, the
/// way an updater does, and compares it. Several are fetched at once over connections that are
/// kept, with a progress bar on a terminal; what is held in memory is bounded.
///
/// \a folder   of the release, below the base URL.
/// \a seconds  how long a small file may take; large ones get more.
/// Returns what is wrong with the files; sentences, in the order of their paths.
QStringList WebProblems(const QString &baseUrl, const QString &folder,
                        const ReleaseManifest &manifest, qint32 seconds);
