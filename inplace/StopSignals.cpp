// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/StopSignals.h"

#include <QSocketNotifier>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::array Signals{SIGINT, SIGTERM, SIGHUP};

std::atomic<bool> Wanted{false};
std::array<int, 2> Pipe{-1, -1};

extern "C" void WantStop(int)
{
    const int error = errno;
    Wanted = true;
    // A full pipe wakes the event loop as well.
    if (::write(Pipe.at(1), "", 1) < 0) {
        errno = error;
    }
}

} // namespace

static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may set it");

StopSignals::StopSignals()
{
    Wanted = false;
    if (::pipe(Pipe.data()) == 0) {
        for (const int end : Pipe) {
            (void)::fcntl(end, F_SETFD, FD_CLOEXEC);
            (void)::fcntl(end, F_SETFL, O_NONBLOCK);
        }
    }
    (void)std::signal(SIGXFSZ, SIG_IGN);
    for (const int one : Signals) {
        struct sigaction action {};
        if (::sigaction(one, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            action = {};
            action.sa_handler = &WantStop;
            action.sa_flags = SA_RESTART;
            (void)::sigaction(one, &action, nullptr);
        }
    }
}

// The handlers stay: whatever comes now is too late to change how the program ends.
StopSignals::~StopSignals()
{
    m_notifier.reset();
    for (int &end : Pipe) {
        (void)::close(std::exchange(end, -1));
    }
}

bool StopSignals::isWanted()
{
    return Wanted;
}

void StopSignals::watch()
{
    m_notifier = std::make_unique<QSocketNotifier>(Pipe.at(0), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        m_notifier->setEnabled(false); // the byte stays: one request is enough
        emit wanted();
    });
}
