// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/RunParts.h"
#include "inplace/TreeHash.h"

class TreeBuild;

/// The complete new tree of a release beside an installation, at layout.next.
///
/// Main thread.
class NewTree {
public:
    /// Supplies files that neither the installation nor an earlier run has.
    enum class Source { Network, StagingOnly, Previous };

    /// \a parts  must live as long as this.
    explicit NewTree(const RunParts &parts);

    /// Builds and verifies the tree. Can be repeated if the installation has changed meanwhile;
    /// what is already right is kept.
    Problem make(Source source);

    /// Whether the installation, and so the user's part of it, is still what the tree was made
    /// from.
    bool isCurrent() const;

    /// The paths of the files and folders that may not be on the disk yet. Files that the
    /// installation has too are, once the volume is written.
    std::vector<QByteArray> unwritten() const;

    /// Whether the installation equals the tree, file by file.
    bool isAsInstalled();

    /// Whether the release is a bundle.
    bool isBundle() const;

    qint64 files() const { return m_files; } ///< fetched for it
    qint64 bytes() const { return m_bytes; } ///< of these

private:
    Problem fill(TreeBuild &build, Source source);
    Problem download(const std::vector<const PlannedEntry *> &missing);
    Problem putManifest() const;

    const UpdateOptions &m_options;
    const Layout &m_layout;
    const InstalledRelease &m_installed;
    const Candidate &m_candidate; ///< read whole
    StopSignals &m_stop;
    TreeEntries m_there;
    TreePlan m_plan;
    HashedFiles m_hashed;
    qint64 m_files = 0;
    qint64 m_bytes = 0;
};
