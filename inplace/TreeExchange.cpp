// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeExchange.h"

#include "inplace/TreeRemove.h"
#include "inplace/VolumeCalls.h"
#include "release/DurableFile.h"
#include "release/SystemCalls.h"

#include <QFile>
#include <QObject>

#include <cerrno>
#include <sys/stat.h>

namespace {

/// Finds out what number a folder has; 0 if it is not there. False with the reason in errno if
/// nobody can say.
bool FindNode(const QString &folder, ino_t &node)
{
    struct stat about {};
    const bool isThere = ::lstat(QFile::encodeName(folder).constData(), &about) == 0;
    node = isThere && S_ISDIR(about.st_mode) ? about.st_ino : 0;
    return isThere || errno == ENOENT || errno == ENOTDIR;
}

bool IsThere(const QString &path)
{
    struct stat about {};
    return ::lstat(QFile::encodeName(path).constData(), &about) == 0;
}

Problem ExchangeFailure(const Layout &layout)
{
    return {End::Exchange, QObject::tr("替换%1失败:%2").arg(layout.install, SystemError())};
}

/// For volumes without an exchange. Between the two renames there is no installation.
bool RenameTwice(const Layout &layout)
{
    if (!DoomTree(layout, layout.previous) || !Move(layout.install, layout.previous)) {
        return false;
    }
    if (Move(layout.next, layout.install)) {
        return true;
    }
    const int error = errno;
    (void)Move(layout.previous, layout.install); // if this fails, the next run restores it
    errno = error;
    return false;
}

} // namespace

Problem FindNodes(const Layout &layout, TreeNodes &nodes)
{
    if (FindNode(layout.install, nodes.install) && FindNode(layout.next, nodes.next) &&
        FindNode(layout.previous, nodes.previous)) {
        return {};
    }
    const QString reason = SystemError();
    return {End::Storage, QObject::tr("%1无法读取:%2").arg(layout.parent, reason)};
}

bool DoomTree(const Layout &layout, const QString &tree)
{
    return !IsThere(tree) ||
           (RemoveTree(QFile::encodeName(layout.doomed)) && Move(tree, layout.doomed));
}

Problem ExchangeTrees(const Layout &layout, bool &changed)
{
    const bool exchanged = ExchangeNames(QFile::encodeName(layout.install).constData(),
                                         QFile::encodeName(layout.next).constData());
    if (!exchanged && !(IsExchangeUnknown(errno) && RenameTwice(layout))) {
        return ExchangeFailure(layout);
    }
    changed = true;
    if (!SyncFolder(layout.parent)) {
        return {End::Storage, QObject::tr("%1无法写入磁盘:%2").arg(layout.parent, SystemError())};
    }
    return {};
}

Problem RestoreInstall(const Layout &layout, ino_t ready)
{
    if (IsThere(layout.install)) {
        return {};
    }
    TreeNodes nodes;
    Problem problem = FindNodes(layout, nodes);
    if (problem) {
        return problem;
    }
    const bool isReady = nodes.next != 0 && nodes.next == ready;
    if (!isReady && nodes.previous == 0) {
        return {End::Folders, QObject::tr("安装目录%1不存在").arg(layout.install)};
    }
    const QString &tree = isReady ? layout.next : layout.previous;
    return Move(tree, layout.install) && SyncFolder(layout.parent) ? Problem()
                                                                   : ExchangeFailure(layout);
}
