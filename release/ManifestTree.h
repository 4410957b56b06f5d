// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ManifestNames.h"

#include <string>
#include <vector>

/// The files, links and folders of a release while its manifest is read, in the order of their
/// paths. Checks that they can be in one installation. Holds slices of the manifest, which must
/// outlive it.
class ManifestTree {
public:
    using Kind = ManifestEntry::Kind;

    /// Adds the entry of a \a line, with the folders above it. The \a path must be safe.
    ///
    /// \a isEmpty  of a folder: nothing may be in it. A folder of the usual mode that is not empty
    ///             has no line.
    /// Returns why the entry is refused, or empty text. The text names the line.
    QString add(Kind kind, Bytes path, int line, bool isEmpty = false);

    /// Sets the target of the link that was added last.
    void setTarget(Bytes target) { m_links.push_back({m_entries.size() - 1, target}); }

    /// Returns why the entries cannot be in one installation, or empty text: names that differ only
    /// in letter case or normalisation, and names that ".old" copies take.
    QString namesReason();

    std::size_t size() const { return m_entries.size(); }

private:
    struct Link {
        std::size_t entry;
        Bytes target;
    };

    friend class LinkWalk; // looks entries up
    QString addFoldersAbove(Bytes path, int line);
    QString addFolderAbove(Bytes folder, Bytes path, int line);
    const ManifestEntry *find(Bytes path) const;
    bool isFolderAbove(Bytes path) const;

    std::vector<ManifestEntry> m_entries; // sorted by path
    std::vector<ManifestEntry> m_above; // folders without a line; sorted by path with '/' behind it
    std::vector<Link> m_links;
    ManifestNames m_names;
};
