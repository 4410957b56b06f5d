// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QSharedMemory>

/// The two-byte status record of the running session. Its shared-memory segment also keeps out a
/// second session of the same installation.
///
/// The segment lives as long as any process is attached to it. A killed session leaves it behind:
/// then exactly one more session is refused, and removes it as it ends. If the segment cannot be
/// made, the session continues without it: writes are dropped, and every status reads false. Not
/// thread-safe.
class StatusRecord {
public:
    struct Status {
        bool success = false; ///< the session found that no update is needed
        bool update = false;
    };

    /// \a applicationDir  path of the folder of the updater's executable; the segment's key is
    ///                    this text with "update_singleton" directly behind it.
    explicit StatusRecord(const QString &applicationDir);

    /// Makes the record, with both flags false. Returns false if another session already holds it;
    /// read() then gives that session's status.
    bool claim();

    /// Returns the status under the segment's lock; only the lowest bit of each byte counts.
    Status read();
    /// Replaces the status under the segment's lock.
    void write(Status status);

private:
    QSharedMemory m_segment;
};
