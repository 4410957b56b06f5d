// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/CommandLine.h"
#include "inplace/Outcome.h"

/// The paths of one installation and of everything around it, absolute and without links.
struct Layout {
    QString install;
    QString parent; ///< the folder that the installation is in
    QString staging;

    QString next;     ///< the tree being built
    QString previous; ///< the previous tree
    QString doomed;   ///< a tree to be removed
    QString probe;    ///< for testing what the volume supports
    QString lockName; ///< of the lock file in the parent

    QString fetch; ///< the worker's staging folder
    QString state; ///< what is ready, and records between runs

    QString ownManifest; ///< the requested place; empty for the usual one

    /// Where the manifest of the installation is kept, which is a bundle or a plain folder. Its
    /// signature is beside it.
    QString manifestPath(bool isBundle) const;
    /// Whether that place is inside the installation, and so part of the tree.
    bool isManifestInside(bool isBundle) const;
};

/// Returns the path of the signature beside a manifest.
QString SignaturePath(const QString &manifest);

/// Whether a tree is a bundle: it has Contents/Info.plist.
bool IsBundle(const QString &folder);

/// Finds the folders of the \a options and changes nothing. The installation may be missing, as an
/// interrupted exchange can leave it, and the staging folder too.
///
/// Neither may be inside the other, even by links.
Problem FindFolders(const UpdateOptions &options, Layout &layout);
