// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

/// \file
/// Files and names that survive a power loss. Nothing here is buffered: success means that the
/// system has confirmed it. Callable on any thread.

/// Replaces the file \a path with \a content atomically: readers see either the old file or the
/// whole new one, even if the process or the machine is stopped at any moment.
///
/// \a scratch  a name on the same volume for the work; whatever has that name, such as the leftover
///             of an interrupted run, is removed.
/// \a mode     of the new file, whatever the umask is.
/// Returns why that failed, naming the path, or empty text once the file and its name will survive
/// a power loss. After a failure the old file is untouched, with one exception: if only the final
/// wait for the name failed, the new file is in place, and a power loss may undo that.
QString WriteDurably(const QString &path, const QString &scratch, const QByteArray &content,
                     int mode = 0644);

/// Waits until the content of an open file will survive a power loss. Returns whether that
/// succeeded; SystemError() says why not.
bool SyncFile(int descriptor);

/// The same for the file \a path, which may not be a link.
bool SyncFile(const QString &path);

/// Waits until the names in a folder will survive a power loss. The path may be a link to the
/// folder. Returns whether that succeeded; SystemError() says why not.
bool SyncFolder(const QString &path);

/// Waits until a tree will survive a power loss: the files and folders of \a paths, and \a folder
/// itself, but not its own name. A link is synced with its folder.
///
/// \a paths  relative, as the system takes them; none is a link, and those that are not there are
///           passed over. Where the system can write a whole
///           volume, everything else in the tree is written too; only an earlier failure to write
///           it is then not noticed.
/// Returns why that failed, naming what could not be synced, or empty text.
QString SyncTree(const QString &folder, const std::vector<QByteArray> &paths);
