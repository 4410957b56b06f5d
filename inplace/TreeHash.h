// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/TreePlan.h"

#include <QHash>
#include <QString>

#include <functional>

class FolderChain;

/// The files of a tree that were found right, and their state on the disk then: a file that was not
/// touched since need not be read again.
class HashedFiles {
public:
    /// Whether the file at \a path was found right, is still the same one and has not been touched
    /// since: writing to it, under any of its names, changes a time that no program can set back.
    bool isKnown(const QByteArray &path, const struct stat &about) const;
    /// Whether the file at \a path was found right, and another tree has it too: as \a other.
    bool isShared(const QByteArray &path, const struct stat &other) const;
    /// The state of the file when it was found right, or null.
    const struct stat *find(const QByteArray &path) const;
    void remember(const QByteArray &path, const struct stat &about);

private:
    QHash<QByteArray, struct stat> m_files;
};

/// Brings one file into a tree before it is read. Returns false if it could not, and the file is
/// then passed over.
using PlaceFile = std::function<bool(FolderChain &tree, const PlannedEntry &entry)>;

/// Makes a PlaceFile for one thread. Callable on any thread.
using PlaceFileMaker = std::function<PlaceFile()>;

/// Reads the files of \a entries, all of them a release's, below \a root with all processors and
/// compares their contents with the release: by SHA-256, or by MD5 where an old manifest has
/// nothing else.
///
/// \a right  receives those that are right.
/// \a placer if given, each file is placed by the thread that then reads it: one thread waits for a
///            folder while another one computes.
/// Returns the entries that are not right, in the same order. Ends early, with the results so far,
/// on a stop request. Does not run an event loop.
std::vector<const PlannedEntry *> WrongFiles(const QByteArray &root,
                                             const std::vector<const PlannedEntry *> &entries,
                                             HashedFiles &right, const PlaceFileMaker &placer = {});

/// Returns whether the open file of \a descriptor has the content of \a file.
bool HasContent(int descriptor, const ManifestFile &file);
