// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ManifestTree.h"

/// Follows the links of a release the way a file system does: name by name, through other links,
/// and with ".." as the parent of the folder reached so far.
class LinkWalk {
public:
    explicit LinkWalk(const ManifestTree &tree);

    /// Returns which link leaves the release or leads nowhere, or empty text.
    QString reason();

private:
    /// Where a link leads to.
    struct End {
        int links = 0; // followed on the way, the first one included; 0: not walked yet
        bool isFolder = false;
        std::string path; // empty: the release itself
    };

    QString follow(std::size_t link, int depth);
    QString step(Bytes name, int depth, End &here);
    QString enterLink(std::size_t link, int depth, End &here);
    std::size_t linkOf(const ManifestEntry &entry) const;

    const ManifestTree &m_tree;
    std::vector<End> m_ends; // in the order of the tree's links
};
