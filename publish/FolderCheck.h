// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ReleaseManifest.h"

#include <QString>
#include <QStringList>

/// How the folder of a release compares with its manifest.
struct FolderState {
    QStringList problems; ///< what is missing or not as listed; sentences, in the order of paths
    QStringList extras;   ///< what is there and not listed; sentences, in the order of paths
};

/// Reads every file that \a manifest lists below the release's \a folder, on as many threads as
/// there are cores, with a progress bar on a terminal. Follows no links.
FolderState CheckFolder(const QString &folder, const ReleaseManifest &manifest);
