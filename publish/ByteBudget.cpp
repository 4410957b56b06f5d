// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ByteBudget.h"

void ByteBudget::take(quint64 bytes)
{
    std::unique_lock<std::mutex> guard(m_mutex);
    m_givenBack.wait(guard, [&] { return m_taken == 0 || m_taken + bytes <= m_bytes; });
    m_taken += bytes;
}

void ByteBudget::giveBack(quint64 bytes)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_taken -= bytes;
    m_givenBack.notify_all();
}
