// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QHash>

#include <functional>

/// How a release spells the paths that a volume takes for the user's. A volume may find one entry
/// under several names, which differ in letter case or Unicode normalisation. For one thread.
class ReleaseSpelling {
public:
    /// Whether the installation's volume finds its entry \a there under the other path too.
    using IsSame = std::function<bool(const QByteArray &there, const QByteArray &other)>;

    /// \a isSame  may be empty: the volume then keeps all names apart.
    explicit ReleaseSpelling(IsSame isSame) : m_isSame(std::move(isSame)) {}

    /// Adds a path of the release.
    void add(const QByteArray &path);

    /// Returns \a path, an entry of the installation, in the release's spelling wherever the volume
    /// takes a folder of it, or its name, for the release's.
    QByteArray of(const QByteArray &path) const;

private:
    const IsSame m_isSame;
    QHash<QByteArray, QByteArray> m_paths; // by their case-folded forms
};
