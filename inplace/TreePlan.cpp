// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreePlan.h"

#include "app/FileNames.h"
#include "inplace/UserPlan.h"
#include "release/ReleaseSignature.h"

#include <algorithm>

namespace {

constexpr int PlainFolderMode = 0755; // of every folder that a complete release does not list

class ReleasePlanner {
public:
    ReleasePlanner(const PlanSources &sources, PlanDraft &draft)
        : m_sources(sources), m_draft(draft)
    {
    }

    void plan();

private:
    PlannedEntry &add(const QByteArray &path, EntryKind kind);
    void addFolders(const QByteArray &path);

    const PlanSources &m_sources;
    PlanDraft &m_draft;
};

PlannedEntry &ReleasePlanner::add(const QByteArray &path, EntryKind kind)
{
    return m_draft.add(path, kind, FindEntry(m_sources.there, path));
}

/// Adds the folders of the release above \a path.
void ReleasePlanner::addFolders(const QByteArray &path)
{
    for (int end = path.indexOf('/'); end >= 0; end = path.indexOf('/', end + 1)) {
        const QByteArray folder = path.left(end);
        if (m_draft.find(folder)) {
            continue;
        }
        PlannedEntry &entry = add(folder, EntryKind::Folder);
        const bool stays = entry.there && entry.there->kind == EntryKind::Folder;
        const int known = stays ? ModeOf(*entry.there) : PlainFolderMode;
        entry.mode = m_sources.release.isComplete ? PlainFolderMode : known;
    }
}

void ReleasePlanner::plan()
{
    const ReleaseManifest &release = m_sources.release;
    for (const ManifestFolder &folder : release.folders) {
        const QByteArray path = folder.path.toUtf8();
        addFolders(path + '/');
        m_draft.find(path)->mode = folder.mode;
    }
    for (const ManifestFile &file : release.files) {
        const QByteArray path = file.path.toUtf8();
        addFolders(path);
        PlannedEntry &entry = add(path, EntryKind::File);
        entry.file = &file;
        const bool stays = entry.there && entry.there->kind == EntryKind::File;
        entry.mode = release.isComplete ? file.mode : stays ? ModeOf(*entry.there) : -1;
    }
    for (const ManifestLink &link : release.links) {
        const QByteArray path = link.path.toUtf8();
        addFolders(path);
        add(path, EntryKind::Link).target = link.target.toUtf8();
    }
}

} // namespace

TreePlan PlanTree(const PlanSources &sources)
{
    PlanDraft draft(sources.root);
    ReleasePlanner(sources, draft).plan();
    PlanUserEntries(sources, draft);
    return draft.take();
}

const PlannedEntry *FindPlanned(const TreePlan &plan, const QByteArray &path)
{
    const auto found = std::lower_bound(
        plan.cbegin(), plan.cend(), path,
        [](const PlannedEntry &entry, const QByteArray &wanted) { return entry.path < wanted; });
    return found != plan.cend() && found->path == path ? &*found : nullptr;
}

bool IsManifestName(const QByteArray &path)
{
    static const QByteArray manifest = LOCAL_MD5_FILENAME.toUtf8();
    static const QByteArray signature = SIGNATURE_FILENAME.toUtf8();
    return path == manifest || path == signature;
}
