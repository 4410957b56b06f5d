// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/SizeGuard.h"

#include "release/Formats.h"

#include <utility>

namespace {

// A body that is slightly too long, such as an error page, is left for the worker to report.
constexpr quint64 Tolerance = quint64{64} << 10U;

} // namespace

SizeGuard::SizeGuard(CDownloadThread &worker, QList<tagDownloadFileInfo> listed)
    : m_worker(worker), m_listed(std::move(listed))
{
    for (const tagDownloadFileInfo &record : m_listed) {
        m_size = qMax(m_size, FileSize(record));
    }
    connect(&worker, &CDownloadThread::downloadStarted, this,
            [this](const QFileInfo &, int current) { m_size = FileSize(m_listed.at(current)); });
    connect(&worker, &CDownloadThread::downloadProgress, this, &SizeGuard::look);
}

void SizeGuard::look(int64_t received, int64_t total)
{
    const int64_t bytes = qMax(received, total); // -1 means no total
    if (m_message.isEmpty() && bytes > 0 && static_cast<quint64>(bytes) > m_size + Tolerance) {
        m_message = tr("服务器发送的内容超过清单中的大小(%1字节)").arg(m_size);
        m_worker.quit();
    }
}
