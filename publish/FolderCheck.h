// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ReleaseManifest.h"

#include <QString>
#include <QStringList>

/// The differences between a release's folder and its manifest.
struct FolderState {
    QStringList problems; ///< missing or not as listed; sentences, in the order of paths
    QStringList extras;   ///< present but not listed; sentences, in the order of paths
};

/// Reads every file that \a manifest lists below the release's \a folder, on as many threads as
/// there are cores, with a progress bar on a terminal. Follows no links.
FolderState CheckFolder(const QString &folder, const ReleaseManifest &manifest);
