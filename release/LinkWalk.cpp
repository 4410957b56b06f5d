// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/LinkWalk.h"

#include <algorithm>

namespace {

constexpr int MostLinks = 32; // the lowest limit of any system

std::string FolderAbove(Bytes path)
{
    const std::size_t end = path.rfind('/');
    return std::string(path.substr(0, end == Bytes::npos ? 0 : end));
}

} // namespace

LinkWalk::LinkWalk(const ManifestTree &tree) : m_tree(tree), m_ends(tree.m_links.size()) {}

QString LinkWalk::reason()
{
    for (std::size_t link = 0; link < m_ends.size(); ++link) {
        const QString reason = follow(link, 1);
        if (!reason.isEmpty()) {
            const ManifestEntry &entry = m_tree.m_entries[m_tree.m_links[link].entry];
            return AtLine(entry.line,
                          QStringLiteral("link \"%1\" %2").arg(Shown(entry.path), reason));
        }
    }
    return {};
}

/// Finds where a link leads, once. \a depth: how many links have been followed, this one included.
QString LinkWalk::follow(std::size_t link, int depth)
{
    if (m_ends[link].links > 0) {
        return {};
    }
    const ManifestTree::Link &known = m_tree.m_links[link];
    End here{1, true, FolderAbove(m_tree.m_entries[known.entry].path)};
    Bytes rest = known.target;
    for (bool isLast = false; !isLast;) {
        const std::size_t end = rest.find('/');
        isLast = end == Bytes::npos;
        if (QString reason = step(rest.substr(0, end), depth, here); !reason.isEmpty()) {
            return reason;
        }
        rest.remove_prefix(isLast ? rest.size() : end + 1);
    }
    m_ends[link] = here;
    return {};
}

QString LinkWalk::step(Bytes name, int depth, End &here)
{
    const QString nothing = QStringLiteral("leads to nothing in the release");
    if (!here.isFolder) {
        return nothing; // a file, with a separator behind it
    }
    if (name.empty() || name == ".") {
        return {};
    }
    if (name == "..") {
        if (here.path.empty()) {
            return QStringLiteral("leaves the release");
        }
        here.path = FolderAbove(here.path);
        return {};
    }
    here.path.append(here.path.empty() ? "" : "/").append(name);
    if (const ManifestEntry *const entry = m_tree.find(here.path)) {
        if (entry->kind == ManifestTree::Kind::Link) {
            return enterLink(linkOf(*entry), depth, here);
        }
        here.isFolder = entry->kind == ManifestTree::Kind::Folder;
        return {};
    }
    return m_tree.isFolderAbove(here.path) ? QString() : nothing;
}

QString LinkWalk::enterLink(std::size_t link, int depth, End &here)
{
    const QString tooMany =
        QStringLiteral("goes in a circle, or through more than %1 links").arg(MostLinks);
    if (depth == MostLinks) {
        return tooMany;
    }
    if (QString reason = follow(link, depth + 1); !reason.isEmpty()) {
        return reason;
    }
    const End &end = m_ends[link];
    here.links += end.links;
    here.isFolder = end.isFolder;
    here.path = end.path;
    return here.links > MostLinks ? tooMany : QString();
}

std::size_t LinkWalk::linkOf(const ManifestEntry &entry) const
{
    const auto place = static_cast<std::size_t>(&entry - m_tree.m_entries.data());
    const auto link = std::lower_bound(
        m_tree.m_links.begin(), m_tree.m_links.end(), place,
        [](const ManifestTree::Link &one, std::size_t other) { return one.entry < other; });
    return static_cast<std::size_t>(link - m_tree.m_links.begin());
}
