// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreePlan.h"

#include "app/FileNames.h"
#include "inplace/FolderChain.h"
#include "release/ReleaseSignature.h"

#include <QSet>

#include <algorithm>
#include <map>

namespace {

constexpr int PlainFolderMode = 0755; // of every folder that a complete release does not list

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

class Planner {
public:
    explicit Planner(const PlanSources &sources)
        : m_sources(sources), m_spelling(SameNames(sources))
    {
    }

    TreePlan plan()
    {
        addRelease();
        addUsers();
        TreePlan plan;
        plan.reserve(m_entries.size());
        for (auto &[path, entry] : m_entries) {
            plan.push_back(std::move(entry));
        }
        return plan;
    }

private:
    static ReleaseSpelling::IsSame SameNames(const PlanSources &sources);
    PlannedEntry &add(const QByteArray &path, EntryKind kind, const TreeEntry *there);
    PlannedEntry &addReleased(const QByteArray &path, EntryKind kind);
    void addFolders(const QByteArray &path);
    void addRelease();
    void addUsers();
    bool isTaken(const QByteArray &path) const;
    void addUser(const TreeEntry &entry, const QByteArray &path);
    void addFormerFolders(const TreeEntry &entry, const QByteArray &path);

    const PlanSources &m_sources;
    ReleaseSpelling m_spelling;
    std::map<QByteArray, PlannedEntry> m_entries;
};

/// What the installation lists under a path of its own is another entry, whatever the volume says.
ReleaseSpelling::IsSame Planner::SameNames(const PlanSources &sources)
{
    if (!sources.isSame) {
        return {};
    }
    return [&sources](const QByteArray &there, const QByteArray &other) {
        return !FindEntry(sources.there, other) && sources.isSame(there, other);
    };
}

/// Adds an entry whose folders are planned already. It keeps its owner; a new one gets that of its
/// folder.
PlannedEntry &Planner::add(const QByteArray &path, EntryKind kind, const TreeEntry *there)
{
    PlannedEntry entry;
    entry.path = path;
    entry.kind = kind;
    entry.there = there;
    const QByteArray folder = FolderOf(path);
    if (entry.there) {
        entry.user = entry.there->about.st_uid;
        entry.group = entry.there->about.st_gid;
    } else if (folder.isEmpty()) {
        entry.user = m_sources.root.st_uid;
        entry.group = m_sources.root.st_gid;
    } else {
        const PlannedEntry &around = m_entries.at(folder);
        entry.user = around.user;
        entry.group = around.group;
    }
    return m_entries[path] = entry;
}

PlannedEntry &Planner::addReleased(const QByteArray &path, EntryKind kind)
{
    return add(path, kind, FindEntry(m_sources.there, path));
}

/// Adds the folders of the release above \a path.
void Planner::addFolders(const QByteArray &path)
{
    for (int end = path.indexOf('/'); end >= 0; end = path.indexOf('/', end + 1)) {
        const QByteArray folder = path.left(end);
        if (m_entries.count(folder) != 0) {
            continue;
        }
        PlannedEntry &entry = addReleased(folder, EntryKind::Folder);
        const bool stays = entry.there && entry.there->kind == EntryKind::Folder;
        const int known = stays ? ModeOf(*entry.there) : PlainFolderMode;
        entry.mode = m_sources.release.isComplete ? PlainFolderMode : known;
    }
}

void Planner::addRelease()
{
    const ReleaseManifest &release = m_sources.release;
    for (const ManifestFolder &folder : release.folders) {
        const QByteArray path = folder.path.toUtf8();
        addFolders(path + '/');
        m_entries[path].mode = folder.mode;
    }
    for (const ManifestFile &file : release.files) {
        const QByteArray path = file.path.toUtf8();
        addFolders(path);
        PlannedEntry &entry = addReleased(path, EntryKind::File);
        entry.file = &file;
        const bool stays = entry.there && entry.there->kind == EntryKind::File;
        entry.mode = release.isComplete ? file.mode : stays ? ModeOf(*entry.there) : -1;
    }
    for (const ManifestLink &link : release.links) {
        const QByteArray path = link.path.toUtf8();
        addFolders(path);
        addReleased(path, EntryKind::Link).target = link.target.toUtf8();
    }
}

void Planner::addUsers()
{
    if (!m_sources.installed && m_sources.isBundle) {
        return;
    }
    const QSet<QByteArray> known =
        m_sources.installed ? PathsOf(*m_sources.installed) : QSet<QByteArray>();
    for (const auto &[path, entry] : m_entries) {
        m_spelling.add(path);
    }
    m_spelling.add(LOCAL_MD5_FILENAME.toUtf8());
    m_spelling.add(SIGNATURE_FILENAME.toUtf8());
    for (const TreeEntry &entry : m_sources.there) {
        if (known.contains(entry.path)) {
            continue;
        }
        const QByteArray path = m_spelling.of(entry.path);
        if (!IsManifestName(path) && !isTaken(path)) {
            addUser(entry, path);
        }
    }
}

/// Whether the release has this path, or something other than a folder above it.
bool Planner::isTaken(const QByteArray &path) const
{
    if (m_entries.count(path) != 0) {
        return true;
    }
    for (QByteArray folder = FolderOf(path); !folder.isEmpty(); folder = FolderOf(folder)) {
        const auto above = m_entries.find(folder);
        if (above != m_entries.cend()) {
            return above->second.kind != EntryKind::Folder;
        }
    }
    return false;
}

/// Adds an entry of the user under a path that is free.
void Planner::addUser(const TreeEntry &entry, const QByteArray &path)
{
    addFormerFolders(entry, path);
    PlannedEntry &planned = add(path, entry.kind, &entry);
    planned.from = PlannedEntry::From::User;
    planned.target = entry.target;
    planned.mode = entry.kind == EntryKind::Folder ? ModeOf(entry) : -1;
}

/// Adds folders of the installed release that are kept because of what the user has in them.
void Planner::addFormerFolders(const TreeEntry &entry, const QByteArray &path)
{
    int there = entry.path.indexOf('/'); // both paths have the same number of names
    for (int end = path.indexOf('/'); end >= 0; end = path.indexOf('/', end + 1)) {
        const QByteArray folder = path.left(end);
        if (m_entries.count(folder) == 0) {
            PlannedEntry &above =
                add(folder, EntryKind::Folder, FindEntry(m_sources.there, entry.path.left(there)));
            above.from = PlannedEntry::From::User;
            above.mode = ModeOf(*above.there);
        }
        there = entry.path.indexOf('/', there + 1);
    }
}

} // namespace

TreePlan PlanTree(const PlanSources &sources)
{
    return Planner(sources).plan();
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
