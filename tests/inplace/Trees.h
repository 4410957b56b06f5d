// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ReleaseManifest.h"
#include "tests/engine/EngineFixture.h"

/// One entry of a tree, as tests write and compare it.
struct Node {
    enum class Kind { File, Link, Folder };

    Kind kind = Kind::File;
    int mode = 0644;
    QByteArray content; ///< of a file; the target of a link
};

inline bool operator==(const Node &one, const Node &other)
{
    return one.kind == other.kind && one.mode == other.mode && one.content == other.content;
}

Node File(const QByteArray &content, int mode = 0644);
Node Link(const QByteArray &target);
Node Folder(int mode = 0755);

/// Entries by path. Folders that are not empty may be left out of a tree to create.
using Tree = QMap<QString, Node>;

/// Returns every entry below a folder, including folders. Aborts the test if one cannot be read.
Tree ReadNodes(const QString &folder);

/// Returns \a tree with the folders above its entries.
Tree WithFolders(const Tree &tree);

/// Creates a tree in a new folder. Folders get their modes last.
void LayNodes(const QString &folder, const Tree &tree);

/// Returns how \a there differs from \a wanted, one line for each path; empty if it does not.
QString Differences(const Tree &there, const Tree &wanted);

/// Returns the tree without the installed manifest and its signature at the top.
Tree WithoutManifest(Tree tree);

/// A release made of a tree.
struct TestRelease {
    Tree tree;
    int version = 1010000;
    QString versionString = QStringLiteral("1.1.0");
    QString application = QString();
    int minVersion = 0;
    QString page = QStringLiteral("https://vendor.example/download");
    bool isComplete = true; ///< false makes an old manifest

    QString folder() const { return versionString; }
    ReleaseManifest manifest() const;
    /// The files on a server: update.json, the manifest and the release's files.
    FileMap published() const;
};
