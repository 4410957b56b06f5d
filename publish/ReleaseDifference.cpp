// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ReleaseDifference.h"

#include <QMap>

#include <algorithm>

namespace {

using Kind = PathDifference::Kind;

/// One listed thing, as far as it is compared.
struct Entry {
    QByteArray content; ///< of a file: its digest; of a link: its target
    quint64 size = 0;
    int mode = 0;
    char kind = 'f'; ///< file, link or directory

    bool operator==(const Entry &other) const
    {
        return kind == other.kind && content == other.content && size == other.size &&
               mode == other.mode;
    }
};

/// The entries of a release by their paths. \a isCommonComplete: both releases have SHA-256 and
/// modes.
QMap<QString, Entry> Entries(const ReleaseManifest &manifest, bool isCommonComplete)
{
    QMap<QString, Entry> entries;
    for (const ManifestFile &file : manifest.files) {
        entries.insert(file.path, {isCommonComplete ? file.sha256 : file.md5, file.size,
                                   isCommonComplete ? file.mode : 0, 'f'});
    }
    for (const ManifestLink &link : manifest.links) {
        entries.insert(link.path, {link.target.toUtf8(), 0, 0, 'l'});
    }
    for (const ManifestFolder &folder : manifest.folders) {
        entries.insert(folder.path, {{}, 0, folder.mode, 'd'});
    }
    return entries;
}

bool HasToBeFetched(const Entry &entry, const Entry *former)
{
    return entry.kind == 'f' && (!former || former->kind != 'f' ||
                                 former->content != entry.content || former->size != entry.size);
}

} // namespace

int ReleaseDifference::count(PathDifference::Kind kind) const
{
    return static_cast<int>(
        std::count_if(paths.begin(), paths.end(),
                      [kind](const PathDifference &path) { return path.kind == kind; }));
}

ReleaseDifference CompareReleases(const ReleaseManifest &former, const ReleaseManifest &next)
{
    const bool isCommonComplete = former.isComplete && next.isComplete;
    const QMap<QString, Entry> before = Entries(former, isCommonComplete);
    const QMap<QString, Entry> after = Entries(next, isCommonComplete);
    ReleaseDifference difference;
    for (auto entry = after.cbegin(); entry != after.cend(); ++entry) {
        const auto old = before.constFind(entry.key());
        const bool isNew = old == before.cend();
        const Kind kind = isNew                   ? Kind::Added
                          : *old == entry.value() ? Kind::Unchanged
                                                  : Kind::Changed;
        difference.paths.push_back({kind, entry.key()});
        if (HasToBeFetched(entry.value(), isNew ? nullptr : &*old)) {
            difference.bytesToFetch += entry.value().size;
        }
    }
    for (auto entry = before.cbegin(); entry != before.cend(); ++entry) {
        if (!after.contains(entry.key())) {
            difference.paths.push_back({Kind::Removed, entry.key()});
        }
    }
    std::sort(difference.paths.begin(), difference.paths.end(),
              [](const PathDifference &a, const PathDifference &b) { return a.path < b.path; });
    return difference;
}

QString KindName(PathDifference::Kind kind)
{
    switch (kind) {
    case Kind::Added:
        return QStringLiteral("added");
    case Kind::Changed:
        return QStringLiteral("changed");
    case Kind::Removed:
        return QStringLiteral("removed");
    case Kind::Unchanged:
        break;
    }
    return QStringLiteral("unchanged");
}
