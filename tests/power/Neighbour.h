// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <atomic>
#include <thread>

/// Another program, which grows and syncs a file on the same file system all the time. The journal,
/// which all files share, then reaches the disk long before their contents.
class Neighbour {
public:
    explicit Neighbour(const QString &folder);
    ~Neighbour();
    Q_DISABLE_COPY(Neighbour)

private:
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
