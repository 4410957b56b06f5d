// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <vector>

/// Returns the path of the folder that contains \a path; empty at the top.
inline QByteArray FolderOf(const QByteArray &path)
{
    return path.left(qMax(path.lastIndexOf('/'), 0));
}

/// Returns the last component of \a path.
inline QByteArray NameOf(const QByteArray &path)
{
    return path.mid(path.lastIndexOf('/') + 1);
}

/// Keeps the folders on the way to the last requested one open, below one root.
///
/// No link is followed, so nobody who can change the tree can lead a reader or a writer out of it.
/// Paths in sorted order open each folder once. For one thread.
class FolderChain {
public:
    /// \a root  absolute, as the system takes it; may be a link itself.
    explicit FolderChain(const QByteArray &root);
    ~FolderChain();
    Q_DISABLE_COPY(FolderChain)

    /// Returns a handle of the folder at \a path (relative, empty for the root), which the chain
    /// owns and which is valid until the next call; -1 with the reason in errno.
    int open(const QByteArray &path);

    /// Returns a handle of the folder that contains the entry at \a path.
    int openParent(const QByteArray &path) { return open(FolderOf(path)); }

private:
    struct Step {
        QByteArray path;
        int handle;
    };

    void leaveTo(const QByteArray &path);

    std::vector<Step> m_steps; ///< the root first, each one inside the one before
};
