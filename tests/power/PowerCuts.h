// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/power/DiskLog.h"

#include <QByteArray>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

class RecordedDisks;

/// An instant at which the power is cut.
struct PowerCut {
    int after = 0;        ///< number of events so far, including a write that is under way
    bool flushed = false; ///< nothing unflushed reached the disks
    quint32 seed = 0;     ///< chooses what did, otherwise
    int marks = 0;        ///< number of marks set before
};

/// Builds the disks as they may be found after a power cut, from the record of a stopped
/// RecordedDisks.
class PowerCuts {
public:
    explicit PowerCuts(const RecordedDisks &disks);
    ~PowerCuts();
    Q_DISABLE_COPY(PowerCuts)

    /// Chooses \a count instants after the first mark, in their order: every flush (or as many as
    /// make up half of them), and random ones, of which half are among all writes and half among
    /// all times between two flushes.
    std::vector<PowerCut> choose(int count, quint32 seed) const;

    /// Builds the disks at each of the instants and calls \a judge with their images, which it may
    /// change.
    void build(const std::vector<PowerCut> &cuts,
               const std::function<void(const PowerCut &cut, const QStringList &images)> &judge);

private:
    class Disk;
    struct Event {
        LogEntry entry;
        const char *data;
    };

    int marksBefore(int after) const;

    QByteArray m_log;
    std::vector<Event> m_events;
    std::vector<int> m_flushes; ///< events, as the next two
    std::vector<int> m_writes;
    std::vector<int> m_marks;
    std::vector<std::unique_ptr<Disk>> m_disks;
};
