// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <atomic>
#include <functional>

/// \file
/// Work that several threads share piece by piece.

/// Hands out the numbers from 0 up, each of them once. Callable on any thread.
class Tickets {
public:
    explicit Tickets(int count) : m_count(count) {}
    Q_DISABLE_COPY(Tickets)

    /// Returns the next number, or -1 when all are taken or the work was stopped.
    int take();
    /// Makes every further take() return -1.
    void stop() { m_stopped = true; }

private:
    const int m_count;
    std::atomic<int> m_next{0};
    std::atomic<bool> m_stopped{false};
};

/// Runs \a worker on \a threads threads at once and returns when all have ended. Calls \a tick on
/// the calling thread about ten times a second meanwhile.
///
/// Uses fewer threads if the system has no more; if it has none, the calling thread does the work.
void RunWorkers(int threads, const std::function<void()> &worker,
                const std::function<void()> &tick);
