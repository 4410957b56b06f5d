// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tools/publish_update/ByteBudget.h"

#include <QMutexLocker>

void ByteBudget::take(quint64 bytes)
{
    const QMutexLocker guard(&m_mutex);
    while (m_taken > 0 && m_taken + bytes > m_bytes) {
        m_givenBack.wait(&m_mutex);
    }
    m_taken += bytes;
}

void ByteBudget::giveBack(quint64 bytes)
{
    const QMutexLocker guard(&m_mutex);
    m_taken -= bytes;
    m_givenBack.wakeAll();
}
