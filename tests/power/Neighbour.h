// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <atomic>
#include <thread>

/// Another program with a file on the same file system, which it grows and syncs all the time. A
/// journal of all files then reaches the disk long before their contents.
class Neighbour {
public:
    explicit Neighbour(const QString &folder);
    ~Neighbour();
    Q_DISABLE_COPY(Neighbour)

private:
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
