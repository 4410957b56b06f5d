// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/Workers.h"

#include <chrono>
#include <future>
#include <system_error>
#include <vector>

int Tickets::take()
{
    if (m_stopped) {
        return -1;
    }
    const int ticket = m_next++;
    return ticket < m_count ? ticket : -1;
}

void RunWorkers(int threads, const std::function<void()> &worker, const std::function<void()> &tick)
{
    std::vector<std::future<void>> running;
    running.reserve(static_cast<std::size_t>(threads));
    for (int thread = 0; thread < threads; ++thread) {
        try {
            running.push_back(std::async(std::launch::async, worker));
        } catch (const std::system_error &) {
            break; // the system has no more threads to give
        }
    }
    if (running.empty()) {
        worker();
    }
    tick();
    for (const std::future<void> &one : running) {
        while (one.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready) {
            tick();
        }
    }
}
