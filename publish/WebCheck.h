// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ReleaseManifest.h"

#include <QString>
#include <QStringList>

/// Fetches every file that \a manifest lists from \a folder below \a baseUrl, the way an updater
/// does, and compares it with the manifest. Fetches several at once over persistent connections,
/// with bounded memory and with a progress bar on a terminal.
///
/// \a folder   of the release, below the base URL.
/// \a seconds  how long a small file may take; large ones get more.
/// Returns what is wrong with the files; sentences, in the order of their paths.
QStringList WebProblems(const QString &baseUrl, const QString &folder,
                        const ReleaseManifest &manifest, qint32 seconds);
