// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tools/publish_update/ReleaseCopy.h"

#include "tools/publish_update/ProgressBar.h"
#include "tools/publish_update/Workers.h"

#include <QCryptographicHash>
#include <QMutex>
#include <QMutexLocker>
#include <QSet>
#include <QThread>

#include <algorithm>
#include <array>
#include <atomic>
#include <numeric>

namespace {

constexpr std::size_t BlockSize = 0x10000; // small enough to stay in the processor's cache

/// Writes the whole block. A write that ends early is gone on with, so that the error shows.
bool WriteAll(QFile &file, const char *block, qint64 length)
{
    while (length > 0) {
        const qint64 written = file.write(block, length);
        if (written <= 0) {
            return false;
        }
        block += written;
        length -= written;
    }
    return true;
}

/// One copy of a release, shared by its threads.
class ReleaseCopy {
public:
    ReleaseCopy(const QVector<ReleaseFile> &files, const QDir &source, const QDir &target)
        : m_files(files), m_source(source), m_target(target),
          m_records(static_cast<std::size_t>(files.size())), m_order(files.size()),
          m_tickets(files.size())
    {
        // The largest first, so that no thread is left alone with one at the end.
        std::iota(m_order.begin(), m_order.end(), 0);
        std::stable_sort(m_order.begin(), m_order.end(),
                         [this](int a, int b) { return m_files.at(a).size > m_files.at(b).size; });
        for (const ReleaseFile &file : files) {
            m_size += file.size;
        }
    }

    QString makeFolders()
    {
        QSet<QString> made;
        for (const ReleaseFile &file : m_files) {
            const QString folder = file.path.section(QLatin1Char('/'), 0, -2);
            if (made.contains(folder)) {
                continue;
            }
            if (!m_target.mkpath(m_target.absoluteFilePath(folder))) {
                return QStringLiteral("The folder \"%1\" cannot be created.")
                    .arg(m_target.absoluteFilePath(folder));
            }
            made.insert(folder);
        }
        return {};
    }

    void copyFiles()
    {
        for (int ticket = m_tickets.take(); ticket >= 0; ticket = m_tickets.take()) {
            const int index = m_order.at(ticket);
            const QString reason =
                copyFile(m_files.at(index).path, m_records[static_cast<std::size_t>(index)]);
            if (!reason.isEmpty()) {
                m_tickets.stop();
                const QMutexLocker guard(&m_mutex);
                m_reason = reason;
            }
            ++m_filesDone;
        }
    }

    void show(ProgressBar &bar) const
    {
        bar.show(m_bytesDone, m_size,
                 QStringLiteral("%1 of %2 files copied")
                     .arg(QString::number(m_filesDone), QString::number(m_files.size())));
    }

    QString reason() const { return m_reason; }
    const std::vector<tagDownloadFileInfo> &records() const { return m_records; }

private:
    QString copyFile(const QString &path, tagDownloadFileInfo &record)
    {
        QFile source(m_source.absoluteFilePath(path));
        if (!source.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
            return QStringLiteral("\"%1\" cannot be read: %2.").arg(path, source.errorString());
        }
        QFile target(m_target.absoluteFilePath(path));
        if (!target.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered)) {
            return QStringLiteral("\"%1\" cannot be written: %2.")
                .arg(target.fileName(), target.errorString());
        }
        QCryptographicHash hash(QCryptographicHash::Md5);
        qint64 size = 0;
        std::array<char, BlockSize> block;
        for (;;) {
            const qint64 length = source.read(block.data(), block.size());
            if (length == 0) {
                break;
            }
            if (length < 0) {
                return QStringLiteral("\"%1\" cannot be read: %2.").arg(path, source.errorString());
            }
            hash.addData(block.data(), static_cast<int>(length));
            if (!WriteAll(target, block.data(), length)) {
                return QStringLiteral("\"%1\" cannot be written: %2.")
                    .arg(target.fileName(), target.errorString());
            }
            size += length;
            m_bytesDone += length;
        }
        if (size >= TooLargeSize) {
            return QStringLiteral("\"%1\" grew to 2 GiB and more while it was copied.").arg(path);
        }
        const auto whole = static_cast<quint64>(size);
        record = {path, static_cast<quint32>(whole >> 32U), static_cast<quint32>(whole),
                  Md5Text(hash.result())};
        return {};
    }

    const QVector<ReleaseFile> &m_files;
    const QDir m_source;
    const QDir m_target;
    std::vector<tagDownloadFileInfo> m_records; // one element is one thread's
    QVector<int> m_order;
    Tickets m_tickets;
    qint64 m_size = 0;
    std::atomic<qint64> m_bytesDone{0};
    std::atomic<int> m_filesDone{0};
    QMutex m_mutex;
    QString m_reason;
};

} // namespace

QString CopyRelease(const QVector<ReleaseFile> &files, const QString &releaseDir,
                    const QString &targetDir, std::vector<tagDownloadFileInfo> &records)
{
    ReleaseCopy copy(files, QDir(releaseDir), QDir(targetDir));
    if (QString reason = copy.makeFolders(); !reason.isEmpty()) {
        return reason;
    }
    ProgressBar bar;
    RunWorkers(
        QThread::idealThreadCount(), [&copy] { copy.copyFiles(); },
        [&copy, &bar] { copy.show(bar); });
    if (copy.reason().isEmpty()) {
        records = copy.records();
    }
    return copy.reason();
}
