// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/StatusRecord.h"

#include "platform/ForkedMemory.h"

#include <QtEndian>

namespace {

constexpr int RecordSize = 2;

class SegmentLock { // unlocks on every path
public:
    explicit SegmentLock(QSharedMemory &segment) : m_segment(segment)
    {
        (void)m_segment.lock(); // also succeeds on a segment that could not be made
    }
    ~SegmentLock() { (void)m_segment.unlock(); }
    Q_DISABLE_COPY(SegmentLock)

private:
    QSharedMemory &m_segment;
};

} // namespace

StatusRecord::StatusRecord(const QString &applicationDir)
    : m_segment(applicationDir + QStringLiteral("update_singleton"))
{
}

bool StatusRecord::claim()
{
    if (m_segment.attach(QSharedMemory::ReadWrite) ||
        m_segment.error() == QSharedMemory::AlreadyExists) {
        KeepFromChildren(m_segment.data(), RecordSize);
        return false;
    }
    (void)m_segment.create(RecordSize, QSharedMemory::ReadWrite); // may fail: see the header
    // A child that cannot become the host application may end after this process, and would leave
    // the segment behind.
    KeepFromChildren(m_segment.data(), RecordSize);
    write({false, false});
    return true;
}

StatusRecord::Status StatusRecord::read()
{
    const SegmentLock lock(m_segment);
    const auto *bytes = static_cast<const uchar *>(m_segment.constData());
    if (!bytes) {
        return {};
    }
    return {(bytes[0] & 1U) != 0, (bytes[1] & 1U) != 0};
}

void StatusRecord::write(Status status)
{
    const SegmentLock lock(m_segment);
    auto *bytes = static_cast<uchar *>(m_segment.data());
    if (!bytes) {
        return;
    }
    // Both bytes at once.
    const unsigned record = (status.success ? 1U : 0U) | (status.update ? 0x100U : 0U);
    qToLittleEndian(static_cast<quint16>(record), bytes);
}
