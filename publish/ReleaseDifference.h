// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ReleaseManifest.h"

#include <QString>

#include <vector>

/// The change of one path from a release to the next.
struct PathDifference {
    enum class Kind { Added, Changed, Removed, Unchanged };

    Kind kind = Kind::Unchanged;
    QString path;
};

/// The changes from a release to the next: files, links and the listed folders.
struct ReleaseDifference {
    std::vector<PathDifference> paths; ///< in ascending order
    quint64 bytesToFetch = 0; ///< of the files whose content a user of the former release lacks

    int count(PathDifference::Kind kind) const;
};

/// Compares two releases. A file counts as changed if its content or mode changed. Content is
/// compared by SHA-256, or by the MD5 text if \a former is an old manifest, which has no modes,
/// links or folders.
ReleaseDifference CompareReleases(const ReleaseManifest &former, const ReleaseManifest &next);

/// The word for a kind: "added", "changed", "removed" or "unchanged".
QString KindName(PathDifference::Kind kind);
