// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ManifestFields.h"

#include <functional>
#include <vector>

/// Something that a release has. Its path is a slice of the manifest.
struct ManifestEntry {
    enum class Kind { File, Link, Folder };

    Bytes path;
    int line; ///< that messages name
    Kind kind;
    bool isEmpty; ///< a folder that nothing may be in
};

/// The names of a release, as a volume that ignores letter case and normalisation sees them.
class ManifestNames {
public:
    /// Returns the entry at a place.
    using Entries = std::function<const ManifestEntry &(std::size_t place)>;

    /// Adds the path of the entry at \a place. Add every path once.
    void add(Bytes path, std::size_t place);

    /// Returns why the names cannot be in one installation, or empty text: paths that are the same,
    /// and those that take the name of a file's ".old" copy. Names the first line with such a path.
    QString reason(const Entries &at);

private:
    struct Name {
        std::size_t hash; // of the folded path; different hashes mean different paths
        std::size_t place;
    };
    using Names = std::vector<Name>::const_iterator;
    /// The problem that comes first in the manifest.
    struct Problem {
        int line = 0;
        QString reason;

        void note(int atLine, const QString &text);
    };

    static void FindSame(Names from, Names end, const Entries &at, Problem &first);
    void findKept(const ManifestEntry &taken, const Entries &at, Problem &first) const;

    std::vector<Name> m_names;
    std::vector<std::size_t> m_likeKept; // places of the paths that end in ".old"
};
