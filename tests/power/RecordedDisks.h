// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/power/FileSystem.h"
#include "tests/power/LoopMount.h"
#include "tests/support/ChildProcess.h"

#include <memory>
#include <vector>

/// Mounted disks, each with a file system. Everything that reaches them is recorded, in one order.
/// Any failure aborts the test.
class RecordedDisks {
public:
    /// Works in \a folder, which must be empty.
    RecordedDisks(const QString &folder, const FileSystem &fileSystem, int count);
    ~RecordedDisks();
    Q_DISABLE_COPY(RecordedDisks)

    int count() const { return static_cast<int>(m_mounts.size()); }
    /// The folder that a disk is mounted on.
    QString top(int disk) const;
    /// Writes everything to the disks.
    void sync() const;
    /// Sets a mark in the record.
    void mark() const;
    /// Unmounts the disks and ends the record.
    void stop();

    /// The record, to be read after stop(), and a disk as it was before it was mounted.
    QString log() const { return m_folder + QStringLiteral("/log"); }
    QString blank(int disk) const;

private:
    const QString m_folder;
    ChildProcess m_recorder;
    std::vector<std::unique_ptr<LoopMount>> m_mounts;
};
