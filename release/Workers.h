// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <atomic>
#include <functional>

/// \file
/// Work that several threads share, one piece at a time.

/// Numbers from 0 upwards, each given to one taker. Callable on any thread.
class Tickets {
public:
    explicit Tickets(int count) : m_count(count) {}
    Q_DISABLE_COPY(Tickets)

    /// Returns the next number, or -1 when all are taken or nobody is to go on.
    int take();
    /// Lets nobody take another one.
    void stop() { m_stopped = true; }

private:
    const int m_count;
    std::atomic<int> m_next{0};
    std::atomic<bool> m_stopped{false};
};

/// Runs \a worker on \a threads threads at once and returns when all have ended. Calls \a tick on
/// the calling thread about ten times a second meanwhile.
///
/// There are fewer threads where the system has no more; without any, the calling one works.
void RunWorkers(int threads, const std::function<void()> &worker,
                const std::function<void()> &tick);
