// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/PlanDraft.h"

#include "inplace/FolderChain.h"

PlannedEntry &PlanDraft::add(const QByteArray &path, EntryKind kind, const TreeEntry *there)
{
    PlannedEntry entry;
    entry.path = path;
    entry.kind = kind;
    entry.there = there;
    const QByteArray folder = FolderOf(path);
    if (there) {
        entry.user = there->about.st_uid;
        entry.group = there->about.st_gid;
    } else if (folder.isEmpty()) {
        entry.user = m_root.st_uid;
        entry.group = m_root.st_gid;
    } else {
        const PlannedEntry &around = m_entries.at(folder);
        entry.user = around.user;
        entry.group = around.group;
    }
    // A release is sorted, so most entries come last.
    return m_entries.insert_or_assign(m_entries.end(), path, entry)->second;
}

PlannedEntry *PlanDraft::find(const QByteArray &path)
{
    const auto found = m_entries.find(path);
    return found != m_entries.end() ? &found->second : nullptr;
}

TreePlan PlanDraft::take()
{
    TreePlan plan;
    plan.reserve(m_entries.size());
    for (auto &[path, entry] : m_entries) {
        plan.push_back(std::move(entry));
    }
    m_entries.clear();
    return plan;
}
