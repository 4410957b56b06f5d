// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/TreePlan.h"

#include <QHash>
#include <QString>

/// Which files of a tree were found to be the release's, and how they stood on the disk then: a
/// file that was not touched since need not be read again.
class HashedFiles {
public:
    /// Whether the file at \a path was found right, is the very same and stands as it did: any
    /// write to it, by whatever name, would show in its times, which nobody can set back.
    bool isKnown(const QByteArray &path, const struct stat &about) const;
    /// How the file stood that was found right, or null.
    const struct stat *find(const QByteArray &path) const;
    void remember(const QByteArray &path, const struct stat &about);

private:
    QHash<QByteArray, struct stat> m_files;
};

/// Reads the files of \a entries, all of them a release's, below \a root with all processors and
/// compares their contents with the release: by SHA-256, or by MD5 where an old manifest has
/// nothing else.
///
/// \a right  gets those that are right.
/// Returns the entries that are not right, in the same order. Ends early, with whatever it has,
/// when a stop is wanted. Calls nothing of the event loop.
std::vector<const PlannedEntry *> WrongFiles(const QByteArray &root,
                                             const std::vector<const PlannedEntry *> &entries,
                                             HashedFiles &right);

/// Returns whether the open file of \a descriptor has the content of \a file.
bool HasContent(int descriptor, const ManifestFile &file);
