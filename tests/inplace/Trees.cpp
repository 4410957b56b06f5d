// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/Trees.h"

#include "app/FileNames.h"
#include "inplace/TreeList.h"
#include "release/Formats.h"
#include "release/ReleaseSignature.h"

#include <QCryptographicHash>

#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray Bytes(const QString &path)
{
    return QFile::encodeName(path);
}

void LayOne(const QString &path, const Node &node)
{
    switch (node.kind) {
    case Node::Kind::File:
        WriteFile(path, node.content);
        break;
    case Node::Kind::Link:
        (void)QDir().mkpath(QFileInfo(path).path());
        if (::symlink(node.content.constData(), Bytes(path).constData()) != 0) {
            qFatal("A link cannot be made.");
        }
        return;
    case Node::Kind::Folder:
        (void)QDir().mkpath(path);
        return; // its mode comes last
    }
    if (::chmod(Bytes(path).constData(), static_cast<mode_t>(node.mode)) != 0) {
        qFatal("A mode cannot be set.");
    }
}

QString Told(const Node &node)
{
    static const char *const names[] = {"file", "link", "folder"};
    return QStringLiteral("%1 %2 %3")
        .arg(QString::fromLatin1(names[static_cast<int>(node.kind)]), QString::number(node.mode, 8),
             QString::fromUtf8(node.content.left(40)));
}

} // namespace

Node File(const QByteArray &content, int mode)
{
    return {Node::Kind::File, mode, content};
}

Node Link(const QByteArray &target)
{
    return {Node::Kind::Link, 0777, target};
}

Node Folder(int mode)
{
    return {Node::Kind::Folder, mode, {}};
}

Tree ReadNodes(const QString &folder)
{
    TreeEntries entries;
    const QString reason = ListTree(Bytes(folder), entries);
    if (!reason.isEmpty()) {
        qFatal("%s", qPrintable(reason));
    }
    Tree tree;
    for (const TreeEntry &entry : entries) {
        const QString path = QFile::decodeName(entry.path);
        if (entry.kind == EntryKind::Folder) {
            tree.insert(path, Folder(ModeOf(entry)));
        } else if (entry.kind == EntryKind::Link) {
            tree.insert(path, Link(entry.target));
        } else {
            tree.insert(path, File(ReadFile(folder + QLatin1Char('/') + path), ModeOf(entry)));
        }
    }
    return tree;
}

Tree WithFolders(const Tree &tree)
{
    Tree whole = tree;
    const QStringList paths = tree.keys();
    for (const QString &path : paths) {
        for (int end = path.indexOf(QLatin1Char('/')); end >= 0;
             end = path.indexOf(QLatin1Char('/'), end + 1)) {
            if (!whole.contains(path.left(end))) {
                whole.insert(path.left(end), Folder());
            }
        }
    }
    return whole;
}

void LayNodes(const QString &folder, const Tree &tree)
{
    (void)QDir().mkpath(folder);
    const Tree whole = WithFolders(tree);
    for (auto node = whole.cbegin(); node != whole.cend(); ++node) {
        LayOne(folder + QLatin1Char('/') + node.key(), node.value());
    }
    for (auto node = whole.cbegin(); node != whole.cend(); ++node) {
        if (node->kind == Node::Kind::Folder &&
            ::chmod(Bytes(folder + QLatin1Char('/') + node.key()).constData(),
                    static_cast<mode_t>(node->mode)) != 0) {
            qFatal("A mode cannot be set.");
        }
    }
}

QString Differences(const Tree &there, const Tree &wanted)
{
    QStringList lines;
    for (auto node = wanted.cbegin(); node != wanted.cend(); ++node) {
        if (!there.contains(node.key())) {
            lines << QStringLiteral("missing: %1").arg(node.key());
        } else if (!(there.value(node.key()) == node.value())) {
            lines << QStringLiteral("%1: %2 instead of %3")
                         .arg(node.key(), Told(there.value(node.key())), Told(node.value()));
        }
    }
    for (auto node = there.cbegin(); node != there.cend(); ++node) {
        if (!wanted.contains(node.key())) {
            lines << QStringLiteral("too much: %1 %2").arg(node.key(), Told(node.value()));
        }
    }
    return lines.join(QLatin1Char('\n'));
}

Tree WithoutManifest(Tree tree)
{
    tree.remove(LOCAL_MD5_FILENAME);
    tree.remove(SIGNATURE_FILENAME);
    return tree;
}

ReleaseManifest TestRelease::manifest() const
{
    ReleaseManifest manifest;
    manifest.isComplete = isComplete;
    manifest.version = version;
    manifest.folder = folder();
    manifest.versionString = versionString;
    manifest.application = application;
    manifest.minVersion = minVersion;
    manifest.page = page;
    const Tree whole = WithFolders(tree);
    for (auto node = whole.cbegin(); node != whole.cend(); ++node) {
        const QString inside = node.key() + QLatin1Char('/');
        const auto next = std::next(node);
        switch (node->kind) {
        case Node::Kind::File:
            manifest.files.push_back(
                {node.key(), static_cast<quint64>(node->content.size()), Md5Hash(node->content),
                 QCryptographicHash::hash(node->content, QCryptographicHash::Sha256).toHex(),
                 node->mode});
            break;
        case Node::Kind::Link:
            manifest.links.push_back({node.key(), QString::fromUtf8(node->content)});
            break;
        case Node::Kind::Folder:
            if (node->mode != 0755 || next == whole.cend() ||
                whole.lowerBound(inside) == whole.cend() ||
                !whole.lowerBound(inside).key().startsWith(inside)) {
                manifest.folders.push_back({node.key(), node->mode});
            }
            break;
        }
    }
    return manifest;
}

FileMap TestRelease::published() const
{
    const QString at = folder() + QLatin1Char('/');
    FileMap files{{UPDATE_DESCRIBE_FILENAME,
                   DescriptionContent({version, versionString, folder(), minVersion, page})},
                  {at + LOCAL_MD5_FILENAME, ManifestContent(manifest())}};
    for (auto node = tree.cbegin(); node != tree.cend(); ++node) {
        if (node->kind == Node::Kind::File) {
            files.insert(at + node.key(), node->content);
        }
    }
    return files;
}
