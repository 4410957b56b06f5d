// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/power/PowerCuts.h"

#include "tests/power/RecordedDisks.h"
#include "tests/power/SparseFile.h"
#include "tests/support/TestFiles.h"

#include <QRandomGenerator>

#include <algorithm>
#include <cstring>

namespace {

constexpr qint64 SectorSize = 512;

/// Chooses which of the unflushed writes reached the disk.
class Fate {
public:
    Fate(quint32 seed, bool nothing, int writes) : m_random(seed), m_writes(writes)
    {
        m_kind = nothing ? Kind::Nothing : static_cast<Kind>(m_random.bounded(6));
        m_share = m_random.generateDouble();
        m_chosen = writes > 0 ? m_random.bounded(writes) : 0;
    }

    /// Whether the next sector of the write with this number reached the disk. Ask in order, once
    /// for each sector.
    bool reached(int write, bool newWrite)
    {
        if (newWrite) {
            m_whole = m_random.generateDouble() < m_share;
        }
        switch (m_kind) {
        case Kind::Nothing:
            return false;
        case Kind::Everything:
            return true;
        case Kind::SomeWrites:
            return m_whole;
        case Kind::SomeSectors:
            return m_random.generateDouble() < m_share;
        case Kind::AllButOne:
            return write != m_chosen;
        case Kind::OneAlone:
            return write == m_chosen;
        case Kind::TornLast:
            return write + 1 < m_writes || m_random.generateDouble() < m_share;
        }
        return false;
    }

private:
    enum class Kind { Everything, SomeWrites, SomeSectors, AllButOne, OneAlone, TornLast, Nothing };

    QRandomGenerator m_random;
    const int m_writes;
    Kind m_kind;
    double m_share;
    int m_chosen;
    bool m_whole = false;
};

} // namespace

class PowerCuts::Disk {
public:
    Disk(const QString &blank, int number)
        : m_number(static_cast<std::uint32_t>(number)),
          m_durable(blank + QStringLiteral("-durable"), 0),
          m_state(blank + QStringLiteral("-state"), 0), m_blank(blank)
    {
    }

    void reset()
    {
        m_durable.assign(m_blank);
        m_flushed = 0;
    }

    /// Builds the state at a cut; cuts must come in order.
    QString build(const std::vector<Event> &events, const PowerCut &cut)
    {
        int flushed = cut.after;
        while (flushed > m_flushed && !isOurs(events, flushed - 1, LogEntry::Flush)) {
            --flushed;
        }
        for (; m_flushed < flushed; ++m_flushed) {
            if (isOurs(events, m_flushed, LogEntry::Write)) {
                const Event &event = events[static_cast<std::size_t>(m_flushed)];
                m_durable.write(static_cast<qint64>(event.entry.offset), event.data,
                                static_cast<qint64>(event.entry.length));
            }
        }
        m_state.assign(m_durable);
        std::vector<const Event *> pending;
        for (int i = m_flushed; i < cut.after; ++i) {
            if (isOurs(events, i, LogEntry::Write)) {
                pending.push_back(&events[static_cast<std::size_t>(i)]);
            }
        }
        Fate fate(cut.seed + m_number, cut.flushed, static_cast<int>(pending.size()));
        for (std::size_t i = 0; i < pending.size(); ++i) {
            write(*pending[i], static_cast<int>(i), fate);
        }
        return m_state.path();
    }

private:
    bool isOurs(const std::vector<Event> &events, int index, LogEntry::Kind kind) const
    {
        const LogEntry &entry = events[static_cast<std::size_t>(index)].entry;
        return entry.kind == kind && entry.disk == m_number;
    }

    void write(const Event &event, int number, Fate &fate) const
    {
        const auto length = static_cast<qint64>(event.entry.length);
        for (qint64 at = 0; at < length; at += SectorSize) {
            if (fate.reached(number, at == 0)) {
                m_state.write(static_cast<qint64>(event.entry.offset) + at, event.data + at,
                              qMin(SectorSize, length - at));
            }
        }
    }

    const std::uint32_t m_number;
    const SparseFile m_durable; ///< what is certainly flushed: the first m_flushed events
    const SparseFile m_state;
    const SparseFile m_blank;
    int m_flushed = 0;
};

PowerCuts::PowerCuts(const RecordedDisks &disks) : m_log(ReadFile(disks.log()))
{
    const char *end = m_log.constData() + m_log.size();
    for (const char *at = m_log.constData(); at < end;) {
        Event event{{}, at + sizeof(LogEntry)};
        std::memcpy(&event.entry, at, sizeof event.entry);
        const auto number = static_cast<int>(m_events.size());
        switch (event.entry.kind) {
        case LogEntry::Write:
            m_writes.push_back(number);
            break;
        case LogEntry::Flush:
            m_flushes.push_back(number);
            break;
        default:
            m_marks.push_back(number);
        }
        m_events.push_back(event);
        at = event.data + event.entry.length;
    }
    for (int disk = 0; disk < disks.count(); ++disk) {
        m_disks.push_back(std::make_unique<Disk>(disks.blank(disk), disk));
    }
    if (m_marks.empty() || m_flushes.empty() || m_writes.empty()) {
        qFatal("The record is empty.");
    }
}

PowerCuts::~PowerCuts() = default;

int PowerCuts::marksBefore(int after) const
{
    return static_cast<int>(std::lower_bound(m_marks.begin(), m_marks.end(), after) -
                            m_marks.begin());
}

std::vector<PowerCut> PowerCuts::choose(int count, quint32 seed) const
{
    const int begin = m_marks.front() + 1;
    const auto since = [begin](const std::vector<int> &events) {
        return std::vector<int>(std::lower_bound(events.begin(), events.end(), begin),
                                events.end());
    };
    std::vector<int> flushes = since(m_flushes);
    const std::vector<int> writes = since(m_writes);
    QRandomGenerator random(seed);
    std::vector<PowerCut> cuts;
    const auto add = [&](int after, bool flushed) {
        cuts.push_back({after, flushed, random.generate(), marksBefore(after)});
    };

    const int all = static_cast<int>(flushes.size());
    const int some = qMin(all, (count + 1) / 2);
    for (int i = 0; i < some; ++i) {
        const auto chosen = static_cast<std::size_t>(i * all / some);
        add(flushes[chosen] + 1, true);
    }
    flushes.insert(flushes.begin(), begin);
    flushes.push_back(static_cast<int>(m_events.size()));
    while (static_cast<int>(cuts.size()) < count) {
        if (random.bounded(2) == 0 && !writes.empty()) {
            add(writes[random.bounded(static_cast<quint32>(writes.size()))] + 1, false);
        } else {
            const auto span = random.bounded(static_cast<quint32>(flushes.size() - 1));
            const int from = flushes[span];
            add(random.bounded(from, qMax(from + 1, flushes[span + 1])) + 1, false);
        }
    }
    std::stable_sort(cuts.begin(), cuts.end(),
                     [](const PowerCut &a, const PowerCut &b) { return a.after < b.after; });
    return cuts;
}

void PowerCuts::build(
    const std::vector<PowerCut> &cuts,
    const std::function<void(const PowerCut &cut, const QStringList &images)> &judge)
{
    for (const auto &disk : m_disks) {
        disk->reset();
    }
    for (const PowerCut &cut : cuts) {
        QStringList images;
        for (const auto &disk : m_disks) {
            images << disk->build(m_events, cut);
        }
        judge(cut, images);
    }
}
