// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QPair>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVector>

/// Runs a program in which a chosen system call fails: each call by it or its children that changes
/// something at or below a folder is counted, and the one with the chosen number fails with the
/// chosen error, without doing anything.
///
/// The kinds: "open" (for writing, or creating), "write" (pwrite, ftruncate and copy_file_range
/// too), "sync" (fsync, fdatasync, syncfs), "rename", "link", "symlink", "mkdir", "chmod", "chown".
/// Counted only if chosen: "unlink" (rmdir too), "open-to-read", "read", "stat" (access,
/// readlink, statvfs and llistxattr too), "list" (opendir and readdir), "lock", and "close", which
/// closes even when it fails, as the system does. Writes of the standard C streams are not seen.
///
///     FailingCalls calls(outputDir);
///     run(calls.letThrough() + command);
///     for (int number = calls.count(); number > 0; --number) {
///         run(calls.failOnce(number, ENOSPC) + command);
///     }
class FailingCalls {
public:
    /// \a folder  an absolute path without links in it, as the program uses it.
    /// \a kinds   the kinds to count; if empty, the usual ones.
    explicit FailingCalls(QString folder, const QStringList &kinds = {});
    Q_DISABLE_COPY(FailingCalls)

    /// Another library to preload, which gets the calls that do not fail here.
    void preload(const QString &library) { m_library = library; }

    // Each begins a new count and returns what to put before the program's command line.

    QStringList letThrough() { return wrapper(0, 0, false); }
    /// \a number  counts from 1.
    QStringList failOnce(int number, int error) { return wrapper(number, error, false); }
    QStringList failFrom(int number, int error) { return wrapper(number, error, true); }
    /// The process gets a \a signal right before the call, which does not fail.
    QStringList signalBefore(int number, int signal) { return wrapper(number, -signal, false); }

    /// How many calls were counted. When several threads call, it may vary.
    int count() const { return calls().size(); }
    /// The calls in order, such as "rename /folder/file"; "FAILED " comes before those that were
    /// made to fail.
    QStringList calls() const;
    /// Whether a call was made to fail.
    bool hasFailed() const;
    /// The first call of each kind on each way through the program that is not in \a seen yet: its
    /// number and its kind. Adds the ways to \a seen.
    QVector<QPair<int, QString>> onNewWays(QSet<QString> &seen) const;

private:
    QStringList lines() const;
    QStringList wrapper(int number, int error, bool isOnwards);

    const QString m_folder;
    const QString m_kinds;
    QString m_library;
    QTemporaryDir m_notes;
};
