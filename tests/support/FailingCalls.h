// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QPair>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVector>

/// Runs a program in which a chosen call of the system fails: each call that changes something at
/// or below a folder is counted, those of its children too, and the one with the chosen number
/// fails without doing anything, with the chosen error.
///
/// The kinds: "open" (for writing, or creating), "write" (pwrite, ftruncate and copy_file_range
/// too), "sync" (fsync, fdatasync, syncfs), "rename", "link", "symlink", "mkdir", "chmod", "chown".
/// Counted only when they are chosen: "unlink" (rmdir too), "open-to-read", "read", "stat" (access,
/// readlink, statvfs and llistxattr too), "list" (opendir and readdir), "lock", and "close", which
/// closes even when it fails, as the system does. What the standard streams of C write is not seen.
///
///     FailingCalls calls(outputDir);
///     run(calls.letThrough() + command);
///     for (int number = calls.count(); number > 0; --number) {
///         run(calls.failOnce(number, ENOSPC) + command);
///     }
class FailingCalls {
public:
    /// \a folder  an absolute path without links in it, as the program uses it.
    /// \a kinds   the kinds to count; none are the usual ones.
    explicit FailingCalls(QString folder, const QStringList &kinds = {});
    Q_DISABLE_COPY(FailingCalls)

    // Each begins a new count, and gives what to put before the program's command line.

    QStringList letThrough() { return wrapper(0, 0, false); }
    /// \a number  counts from 1.
    QStringList failOnce(int number, int error) { return wrapper(number, error, false); }
    QStringList failFrom(int number, int error) { return wrapper(number, error, true); }
    /// The process gets a \a signal right before the call, which is not made to fail.
    QStringList signalBefore(int number, int signal) { return wrapper(number, -signal, false); }

    /// How many calls were counted. When several threads call, it may vary.
    int count() const { return calls().size(); }
    /// The calls in their order, such as "rename /folder/file"; "FAILED " stands before those that
    /// were made to fail.
    QStringList calls() const;
    /// Whether one was made to fail.
    bool hasFailed() const;
    /// The first call of each kind on each way through the program that is not in \a seen yet: its
    /// number and its kind. Adds the ways to \a seen.
    QVector<QPair<int, QString>> onNewWays(QSet<QString> &seen) const;

private:
    QStringList lines() const;
    QStringList wrapper(int number, int error, bool isOnwards);

    const QString m_folder;
    const QString m_kinds;
    QTemporaryDir m_notes;
};
