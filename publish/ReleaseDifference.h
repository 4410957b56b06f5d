// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ReleaseManifest.h"

#include <QString>

#include <vector>

/// What happens to one path from a release to the next.
struct PathDifference {
    enum class Kind { Added, Changed, Removed, Unchanged };

    Kind kind = Kind::Unchanged;
    QString path;
};

/// What changes from a release to the next: files, links, and the folders that are listed.
struct ReleaseDifference {
    std::vector<PathDifference> paths; ///< in ascending order
    quint64 bytesToFetch = 0;          ///< of the files whose content a user of the former lacks

    int count(PathDifference::Kind kind) const;
};

/// Compares two releases. A file is changed when its content or its mode is; content is compared by
/// SHA-256, and by the MD5 text where \a former is an old manifest, which says nothing about modes,
/// links and folders.
ReleaseDifference CompareReleases(const ReleaseManifest &former, const ReleaseManifest &next);

/// The word for a kind: "added", "changed", "removed" or "unchanged".
QString KindName(PathDifference::Kind kind);
