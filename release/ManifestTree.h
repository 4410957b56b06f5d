// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ManifestNames.h"

#include <string>
#include <vector>

/// The files, links and folders of a release that is read, in the order of their paths, and whether
/// they can stand together. Holds slices of the manifest, which must outlive it.
class ManifestTree {
public:
    using Kind = ManifestEntry::Kind;

    /// Adds what has the \a path, found safe before, and stands in \a line, with the folders above
    /// it.
    ///
    /// \a isEmpty  of a folder: nothing may follow in it. One of the usual mode that has something
    ///             in it has no line.
    /// Returns why it cannot stand there, or empty text. The text names the line.
    QString add(Kind kind, Bytes path, int line, bool isEmpty = false);

    /// Notes where the link that was added last points to.
    void setTarget(Bytes target) { m_links.push_back({m_entries.size() - 1, target}); }

    /// Returns why all that was added cannot stand together, or empty text: names that are equal
    /// but for letter case or normalisation, and those that kept copies take.
    QString namesReason();

    std::size_t size() const { return m_entries.size(); }

private:
    struct Link {
        std::size_t entry;
        Bytes target;
    };

    friend class LinkWalk; // asks for what is where
    QString addFoldersAbove(Bytes path, int line);
    QString addFolderAbove(Bytes folder, Bytes path, int line);
    const ManifestEntry *find(Bytes path) const;
    bool isFolderAbove(Bytes path) const;

    std::vector<ManifestEntry> m_entries; // sorted by path
    std::vector<ManifestEntry> m_above; // folders without a line; sorted by path with '/' behind it
    std::vector<Link> m_links;
    ManifestNames m_names;
};
