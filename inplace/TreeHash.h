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
    /// Whether the file of this plan entry was found right and stands as it did.
    bool isKnown(const QByteArray &path, const struct stat &about) const;
    void remember(const QByteArray &path, const struct stat &about);
    void forget(const QByteArray &path) { m_files.remove(path); }

private:
    QHash<QByteArray, struct stat> m_files;
};

/// Reads the files of \a entries, all of them a release's, below \a root with all processors and
/// compares their contents with the release: by SHA-256, or by MD5 where an old manifest has
/// nothing else.
///
/// \a known  files in it are passed over; those that are right are added.
/// Returns the entries that are not right, in the same order. Ends early, with whatever it has,
/// when a stop is wanted. Calls nothing of the event loop.
std::vector<const PlannedEntry *> WrongFiles(const QByteArray &root,
                                             const std::vector<const PlannedEntry *> &entries,
                                             HashedFiles &known);

/// Returns whether the open file of \a descriptor has the content of \a file.
bool HasContent(int descriptor, const ManifestFile &file);
