// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ManifestTree.h"

#include "release/ReleaseManifest.h"
#include "release/ReleasePaths.h"

#include <algorithm>

namespace {

constexpr char Separator = '/';
constexpr std::size_t MostEntries = MostManifestPaths;

/// Compares as if both ended in a separator: the order in which folders are reached.
bool IsFolderBefore(Bytes one, Bytes other)
{
    const std::size_t common = std::min(one.size(), other.size());
    if (const int order = one.compare(0, common, other, 0, common); order != 0) {
        return order < 0;
    }
    const auto next = [common](Bytes path) {
        return static_cast<unsigned char>(path.size() > common ? path[common] : Separator);
    };
    return next(one) != next(other) ? next(one) < next(other) : one.size() < other.size();
}

/// The length of the common beginning of two texts.
std::size_t CommonLength(Bytes one, Bytes other)
{
    const std::size_t length = std::min(one.size(), other.size());
    const auto [end, _] = std::mismatch(one.begin(), one.begin() + length, other.begin());
    return static_cast<std::size_t>(end - one.begin());
}

} // namespace

QString ManifestTree::add(Kind kind, Bytes path, int line, bool isEmpty)
{
    if (size() == MostEntries) {
        return AtLine(line, QStringLiteral("it lists more than %1 paths").arg(MostManifestPaths));
    }
    const Bytes last = m_entries.empty() ? Bytes() : m_entries.back().path;
    if (!m_entries.empty() && path <= last) {
        return AtLine(
            line,
            path == last
                ? QStringLiteral("\"%1\" is listed twice").arg(Shown(path))
                : QStringLiteral("\"%1\" comes after \"%2\", which is not the order of their bytes")
                      .arg(Shown(path), Shown(last)));
    }
    if (path.front() == 'u' || path.front() == 'U' ||
        static_cast<unsigned char>(path.front()) >= 0x80) {
        if (const QString reason = TakenNameReason(Shown(path)); !reason.isEmpty()) {
            return AtLine(line, reason);
        }
    }
    if (QString reason = addFoldersAbove(path, line); !reason.isEmpty()) {
        return reason;
    }
    m_names.add(path, m_entries.size());
    m_entries.push_back({path, line, kind, isEmpty});
    return {};
}

/// Adds the folders above \a path that were not added yet: paths in byte order enter each folder
/// once.
QString ManifestTree::addFoldersAbove(Bytes path, int line)
{
    const Bytes last = m_entries.empty() ? Bytes() : m_entries.back().path;
    for (std::size_t end = path.find(Separator, CommonLength(path, last)); end != Bytes::npos;
         end = path.find(Separator, end + 1)) {
        if (QString reason = addFolderAbove(path.substr(0, end), path, line); !reason.isEmpty()) {
            return reason;
        }
    }
    return {};
}

QString ManifestTree::addFolderAbove(Bytes folder, Bytes path, int line)
{
    const ManifestEntry *const entry = find(folder);
    if (!entry) {
        if (m_above.size() == MostEntries) {
            return AtLine(line,
                          QStringLiteral("it has more than %1 folders").arg(MostManifestPaths));
        }
        m_names.add(folder, MostEntries + m_above.size());
        m_above.push_back({folder, line, Kind::Folder, false});
        return {};
    }
    switch (entry->kind) {
    case Kind::File:
        return AtLine(line, QStringLiteral("\"%1\" is both a file and the folder of \"%2\"")
                                .arg(Shown(folder), Shown(path)));
    case Kind::Link:
        return AtLine(
            line,
            QStringLiteral("\"%1\" goes through the link \"%2\"").arg(Shown(path), Shown(folder)));
    case Kind::Folder:
        break;
    }
    if (entry->isEmpty) {
        return AtLine(entry->line, QStringLiteral("folder \"%1\" has the usual mode and is not "
                                                  "empty, which needs no line")
                                       .arg(Shown(folder)));
    }
    return {};
}

QString ManifestTree::namesReason()
{
    return m_names.reason([this](std::size_t place) -> const ManifestEntry & {
        return place < MostEntries ? m_entries[place] : m_above[place - MostEntries];
    });
}

const ManifestEntry *ManifestTree::find(Bytes path) const
{
    const auto entry =
        std::lower_bound(m_entries.begin(), m_entries.end(), path,
                         [](const ManifestEntry &one, Bytes other) { return one.path < other; });
    return entry != m_entries.end() && entry->path == path ? &*entry : nullptr;
}

bool ManifestTree::isFolderAbove(Bytes path) const
{
    const auto folder = std::lower_bound(
        m_above.begin(), m_above.end(), path,
        [](const ManifestEntry &one, Bytes other) { return IsFolderBefore(one.path, other); });
    return folder != m_above.end() && folder->path == path;
}
