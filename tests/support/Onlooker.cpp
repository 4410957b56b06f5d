// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Onlooker.h"

#include "tests/support/HostBundle.h"

Onlooker::Onlooker(const HostBundle &bundle)
    : m_segment(bundle.macOsDir() + QStringLiteral("update_singleton"))
{
}

bool Onlooker::attach()
{
    return m_segment.attach(QSharedMemory::ReadOnly);
}

void Onlooker::detach()
{
    (void)m_segment.detach(); // fails when it was not attached
}

QByteArray Onlooker::record()
{
    if (!m_segment.isAttached() || !m_segment.lock()) {
        return {};
    }
    const QByteArray bytes(static_cast<const char *>(m_segment.constData()), 2);
    m_segment.unlock();
    return bytes;
}
