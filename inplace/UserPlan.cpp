// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/UserPlan.h"

#include "app/FileNames.h"
#include "inplace/FolderChain.h"
#include "release/ReleaseSignature.h"

#include <QSet>

#include <algorithm>

namespace {

/// All paths of a release: those it lists, and the folders above them.
QSet<QByteArray> PathsOf(const ReleaseManifest &release)
{
    QSet<QByteArray> paths;
    const auto add = [&paths](const QString &path) {
        for (QByteArray one = path.toUtf8(); !one.isEmpty() && !paths.contains(one);
             one = FolderOf(one)) {
            paths.insert(one);
        }
    };
    for (const ManifestFile &file : release.files) {
        add(file.path);
    }
    for (const ManifestLink &link : release.links) {
        add(link.path);
    }
    for (const ManifestFolder &folder : release.folders) {
        add(folder.path);
    }
    return paths;
}

class UserPlanner {
public:
    UserPlanner(const PlanSources &sources, PlanDraft &draft)
        : m_sources(sources), m_draft(draft), m_spelling(SameNames(sources))
    {
    }

    void plan();

private:
    static ReleaseSpelling::IsSame SameNames(const PlanSources &sources);
    std::vector<const TreeEntry *> otherEntries() const;
    bool isTaken(const QByteArray &path) const;
    void addUser(const TreeEntry &entry, const QByteArray &path);
    void addFormerFolders(const TreeEntry &entry, const QByteArray &path);

    const PlanSources &m_sources;
    PlanDraft &m_draft;
    ReleaseSpelling m_spelling;
};

/// What the installation lists under a path of its own is another entry, whatever the volume says.
ReleaseSpelling::IsSame UserPlanner::SameNames(const PlanSources &sources)
{
    if (!sources.isSame) {
        return {};
    }
    return [&sources](const QByteArray &there, const QByteArray &other) {
        return !FindEntry(sources.there, other) && sources.isSame(there, other);
    };
}

void UserPlanner::plan()
{
    if (!m_sources.installed && m_sources.isBundle) {
        return;
    }
    const std::vector<const TreeEntry *> others = otherEntries();
    if (others.empty()) {
        return;
    }
    for (const auto &[path, entry] : m_draft.entries()) {
        m_spelling.add(path);
    }
    m_spelling.add(LOCAL_MD5_FILENAME.toUtf8());
    m_spelling.add(SIGNATURE_FILENAME.toUtf8());
    for (const TreeEntry *entry : others) {
        const QByteArray path = m_spelling.of(entry->path);
        if (!IsManifestName(path) && !isTaken(path)) {
            addUser(*entry, path);
        }
    }
}

/// What neither the release nor the installed one has, as it is spelled.
std::vector<const TreeEntry *> UserPlanner::otherEntries() const
{
    std::vector<const TreeEntry *> others;
    for (const TreeEntry &entry : m_sources.there) {
        if (!IsManifestName(entry.path) && !m_draft.find(entry.path)) {
            others.push_back(&entry);
        }
    }
    if (m_sources.installed && !others.empty()) {
        const QSet<QByteArray> known = PathsOf(*m_sources.installed);
        const auto isKnown = [&known](const TreeEntry *entry) {
            return known.contains(entry->path);
        };
        others.erase(std::remove_if(others.begin(), others.end(), isKnown), others.end());
    }
    return others;
}

/// Whether the release has this path, or something other than a folder above it.
bool UserPlanner::isTaken(const QByteArray &path) const
{
    if (m_draft.find(path)) {
        return true;
    }
    for (QByteArray folder = FolderOf(path); !folder.isEmpty(); folder = FolderOf(folder)) {
        if (const PlannedEntry *above = m_draft.find(folder)) {
            return above->kind != EntryKind::Folder;
        }
    }
    return false;
}

/// Adds an entry of the user under a path that is free.
void UserPlanner::addUser(const TreeEntry &entry, const QByteArray &path)
{
    addFormerFolders(entry, path);
    PlannedEntry &planned = m_draft.add(path, entry.kind, &entry);
    planned.from = PlannedEntry::From::User;
    planned.target = entry.target;
    planned.mode = entry.kind == EntryKind::Folder ? ModeOf(entry) : -1;
}

/// Adds folders of the installed release that are kept because of what the user has in them.
void UserPlanner::addFormerFolders(const TreeEntry &entry, const QByteArray &path)
{
    int there = entry.path.indexOf('/'); // both paths have the same number of names
    for (int end = path.indexOf('/'); end >= 0; end = path.indexOf('/', end + 1)) {
        const QByteArray folder = path.left(end);
        if (!m_draft.find(folder)) {
            PlannedEntry &above = m_draft.add(folder, EntryKind::Folder,
                                              FindEntry(m_sources.there, entry.path.left(there)));
            above.from = PlannedEntry::From::User;
            above.mode = ModeOf(*above.there);
        }
        there = entry.path.indexOf('/', there + 1);
    }
}

} // namespace

void PlanUserEntries(const PlanSources &sources, PlanDraft &draft)
{
    UserPlanner(sources, draft).plan();
}
