// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ManifestFields.h"

#include <string>
#include <vector>

/// The files, links and folders of a release that is read, in the order of their paths, and whether
/// they can stand together. Holds slices of the manifest, which must outlive it.
class ManifestTree {
public:
    enum class Kind { File, Link, Folder };

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
    struct Entry {
        Bytes path;
        int line;
        Kind kind;
        bool isEmpty;
    };
    struct Link {
        std::size_t entry;
        Bytes target;
    };
    /// An entry or a folder above one, by what its name is compared by.
    struct Name {
        std::size_t hash;
        std::size_t place; // in m_entries, or behind them in m_above
    };

    friend class LinkWalk; // asks for what is where
    using Names = std::vector<Name>::const_iterator;
    /// What stands first in the manifest of what is wrong.
    struct Problem {
        int line = 0;
        QString reason;

        void note(int atLine, const QString &text);
    };

    QString addFoldersAbove(Bytes path, int line);
    QString addFolderAbove(Bytes folder, Bytes path, int line);
    void addName(Bytes path, std::size_t place);
    void findSameNames(Names from, Names end, Problem &first) const;
    void findKeptName(const Entry &taken, Problem &first) const;
    const Entry &at(std::size_t place) const;
    const Entry *find(Bytes path) const;
    bool isFolderAbove(Bytes path) const;

    std::vector<Entry> m_entries; // sorted by path
    std::vector<Entry> m_above;   // folders without a line; sorted by path with '/' behind it
    std::vector<Link> m_links;
    std::vector<Name> m_names;
    std::vector<std::size_t> m_likeKept; // places of names that end as kept copies do
};
