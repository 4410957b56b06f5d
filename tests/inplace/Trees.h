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

/// Entries by path. Folders that hold something need not be in it when a tree is laid.
using Tree = QMap<QString, Node>;

/// Returns every entry below a folder, folders included. Aborts the test when it cannot be read.
Tree ReadNodes(const QString &folder);

/// Returns \a tree with the folders that hold its entries.
Tree WithFolders(const Tree &tree);

/// Lays a tree in a folder, which is made. Folders get their modes last.
void LayNodes(const QString &folder, const Tree &tree);

/// Returns how \a there differs from \a wanted, one line for each path; empty when it does not.
QString Differences(const Tree &there, const Tree &wanted);

/// Returns the tree without the installed manifest and its signature at the top.
Tree WithoutManifest(Tree tree);

/// A release of a tree.
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
    /// What a server holds: update.json, the manifest and the files.
    FileMap published() const;
};
