// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QSharedMemory>

/// The two-byte status record of the running session, in a shared-memory segment that at the same
/// time keeps a second session of the same installation out.
///
/// The segment lives as long as any process is attached to it. One that a killed session left
/// behind refuses exactly one further session, whose end removes it. Where the segment could not be
/// made the session goes on without: writes are dropped, and every status reads false.
/// For one thread at a time.
class StatusRecord {
public:
    struct Status {
        bool success = false; ///< the session found that no update is needed
        bool update = false;
    };

    /// \a applicationDir  path of the folder of the updater's executable; the segment's key is
    ///                    this text with "update_singleton" directly behind it.
    explicit StatusRecord(const QString &applicationDir);

    /// Makes the record, both flags false. Returns false when another session holds it already;
    /// then read() gives that session's status.
    bool claim();

    /// Returns the status under the segment's lock; only the lowest bit of each byte counts.
    Status read();
    /// Replaces the status under the segment's lock.
    void write(Status status);

private:
    QSharedMemory m_segment;
};
