// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/TreePlan.h"

#include <map>

/// A plan in the making. For one thread.
class PlanDraft {
public:
    /// \a root  the folder of the current installation.
    explicit PlanDraft(const struct stat &root) : m_root(root) {}

    /// Adds an entry whose folders are in the draft already. It gets the owner of \a there, what
    /// the installation has under this path; where that is null, the owner of its folder.
    PlannedEntry &add(const QByteArray &path, EntryKind kind, const TreeEntry *there);

    /// Returns the entry at \a path, or null. Valid as long as the draft.
    PlannedEntry *find(const QByteArray &path);

    const std::map<QByteArray, PlannedEntry> &entries() const { return m_entries; }

    /// Ends the draft.
    TreePlan take();

private:
    const struct stat m_root;
    std::map<QByteArray, PlannedEntry> m_entries;
};
