// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/CommandLine.h"
#include "inplace/Outcome.h"

/// Where everything of one installation lies. All paths are absolute and without links.
struct Layout {
    QString install;
    QString parent; ///< the folder that the installation is in
    QString staging;

    QString next;     ///< the tree being built
    QString previous; ///< the former tree
    QString doomed;   ///< a tree that is being removed
    QString probe;    ///< for trying out the volume
    QString lockName; ///< of the file in the parent that keeps other runs away

    QString fetch; ///< the worker's staging folder
    QString state; ///< what is ready, and records between runs

    QString ownManifest; ///< the place that was asked for; empty for the usual one

    /// Where the manifest of an installation is kept that is a bundle, or a plain folder; beside it
    /// lies its signature.
    QString manifestPath(bool isBundle) const;
    /// Whether that place is inside the installation, and so comes with the tree.
    bool isManifestInside(bool isBundle) const;
};

/// Returns the path of the signature beside a manifest.
QString SignaturePath(const QString &manifest);

/// Whether a tree is a bundle: it has Contents/Info.plist.
bool IsBundle(const QString &folder);

/// Finds the folders of the \a options and changes nothing. The installation may be missing, as an
/// interrupted exchange can leave it, and the staging folder too.
///
/// Neither may lie in the other, whatever links lead there.
Problem FindFolders(const UpdateOptions &options, Layout &layout);
