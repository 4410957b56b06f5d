// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ReleaseCopy.h"

#include "publish/EntryCheck.h"
#include "publish/ProgressBar.h"
#include "release/Descriptor.h"
#include "release/FileCalls.h"
#include "release/FileDigests.h"
#include "release/SystemCalls.h"
#include "release/Workers.h"

#include <QDir>
#include <QSet>
#include <QThread>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <numeric>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t BlockSize = 0x10000; // small enough to stay in the processor's cache

QString ReadReason(const QString &path, const QString &error)
{
    return QStringLiteral("\"%1\" cannot be read: %2.").arg(path, error);
}

QString WriteReason(const QString &path)
{
    return QStringLiteral("\"%1\" cannot be written: %2.").arg(path, SystemError());
}

/// Reads a release on several threads, with or without copying it.
class ReleaseCopy {
public:
    /// Writes nothing when \a target is empty.
    ReleaseCopy(const QVector<ReleaseFile> &files, const QString &source, const QString &target)
        : m_files(files), m_source(source + QLatin1Char('/')),
          m_target(target.isEmpty() ? target : target + QLatin1Char('/')),
          m_records(static_cast<std::size_t>(files.size())),
          m_order(static_cast<std::size_t>(files.size())), m_toRead(static_cast<int>(files.size())),
          m_toSync(static_cast<int>(files.size()))
    {
        // The largest first, so that no thread is left with a large file at the end.
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
            if (!QDir().mkpath(m_target + folder)) {
                return QStringLiteral("The folder \"%1\" cannot be created.")
                    .arg(m_target + folder);
            }
            made.insert(folder);
        }
        return {};
    }

    void readFiles() { forEachFile(m_toRead, &ReleaseCopy::readFile); }

    /// Waits until the copies will survive a power loss. Call it when all are made: the first
    /// copies are mostly on the disk by then, and one wait serves many.
    void syncFiles() { forEachFile(m_toSync, &ReleaseCopy::syncFile); }

    void show(ProgressBar &bar) const
    {
        bar.show(m_bytesDone, m_size,
                 QStringLiteral("%1 of %2 files %3")
                     .arg(QString::number(m_filesDone), QString::number(m_files.size()),
                          m_target.isEmpty() ? QStringLiteral("read") : QStringLiteral("copied")));
    }

    QString reason() const { return m_reason; }
    const std::vector<ManifestFile> &records() const { return m_records; }

private:
    /// Calls \a step for files until there are no more \a tickets or a step has failed.
    void forEachFile(Tickets &tickets, QString (ReleaseCopy::*step)(int))
    {
        for (int ticket = tickets.take(); ticket >= 0; ticket = tickets.take()) {
            const QString reason = (this->*step)(m_order.at(static_cast<std::size_t>(ticket)));
            if (!reason.isEmpty()) {
                tickets.stop();
                const std::lock_guard<std::mutex> guard(m_mutex);
                m_reason = reason;
            }
        }
    }

    QString syncFile(int index)
    {
        const QString path = m_target + m_files.at(index).path;
        const Descriptor target(
            ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        return target.isOpen() && ::fsync(target.number()) == 0 ? QString() : WriteReason(path);
    }

    QString readFile(int index)
    {
        const ReleaseFile &file = m_files.at(index);
        Descriptor source;
        if (QString reason = OpenRegularFile(m_source + file.path, source); !reason.isEmpty()) {
            return ReadReason(file.path, reason);
        }
        Descriptor target;
        if (!m_target.isEmpty()) {
            target.reset(::open(QFile::encodeName(m_target + file.path).constData(),
                                O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
            if (!target.isOpen()) {
                return WriteReason(m_target + file.path);
            }
        }
        DigestMaker digest(DigestKinds::Sha256AndMd5);
        if (QString reason = pass(file, source.number(), target.number(), digest);
            !reason.isEmpty()) {
            return reason;
        }
        struct stat status {};
        if (::fstat(source.number(), &status) != 0 || LastChange(status) != file.changed) {
            return QStringLiteral("\"%1\" was changed while it was read.").arg(file.path);
        }
        FileDigests digests;
        if (QString reason = digest.finish(digests); !reason.isEmpty()) {
            return ReadReason(file.path, reason);
        }
        if (target.isOpen()) {
            StartWriting(target.number());
            if (!target.close()) {
                return WriteReason(m_target + file.path);
            }
        }
        m_records[static_cast<std::size_t>(index)] = {file.path, digests.size, digests.md5,
                                                      digests.sha256, file.mode};
        ++m_filesDone;
        return {};
    }

    /// Passes the content of an open file to the digest and the copy. Returns why that failed, or
    /// empty text.
    QString pass(const ReleaseFile &file, int source, int target, DigestMaker &digest)
    {
        qint64 size = 0;
        std::array<char, BlockSize> block; // NOLINT(*-member-init): read() fills it
        while (size <= file.size) {        // a file that grows forever must not hang this
            const ssize_t length = ::read(source, block.data(), block.size());
            if (length == 0) {
                break;
            }
            if (length < 0 && errno == EINTR) {
                continue;
            }
            if (length < 0) {
                return ReadReason(file.path, SystemError());
            }
            digest.add(block.data(), static_cast<std::size_t>(length));
            if (target >= 0 && !WriteAll(target, block.data(), static_cast<std::size_t>(length))) {
                return WriteReason(m_target + file.path);
            }
            size += length;
            m_bytesDone += length;
        }
        return size == file.size
                   ? QString()
                   : QStringLiteral("\"%1\" changed its size while it was read.").arg(file.path);
    }

    const QVector<ReleaseFile> &m_files;
    // Prefixes of paths: QDir fills a cache when first asked for an absolute path, which threads
    // must not do concurrently.
    const QString m_source;
    const QString m_target;
    std::vector<ManifestFile> m_records; // each element is written by one thread
    std::vector<int> m_order;
    Tickets m_toRead;
    Tickets m_toSync;
    qint64 m_size = 0;
    std::atomic<qint64> m_bytesDone{0};
    std::atomic<int> m_filesDone{0};
    std::mutex m_mutex;
    QString m_reason;
};

QString Read(ReleaseCopy &copy, bool syncs, std::vector<ManifestFile> &records)
{
    ProgressBar bar;
    const auto onEveryCore = [&copy, &bar](const std::function<void()> &work) {
        RunWorkers(QThread::idealThreadCount(), work, [&copy, &bar] { copy.show(bar); });
    };
    onEveryCore([&copy] { copy.readFiles(); });
    if (syncs && copy.reason().isEmpty()) {
        onEveryCore([&copy] { copy.syncFiles(); });
    }
    if (copy.reason().isEmpty()) {
        records = copy.records();
    }
    return copy.reason();
}

} // namespace

QString CopyRelease(const QVector<ReleaseFile> &files, const QString &releaseDir,
                    const QString &targetDir, std::vector<ManifestFile> &records)
{
    ReleaseCopy copy(files, releaseDir, targetDir);
    QString reason = copy.makeFolders();
    return reason.isEmpty() ? Read(copy, true, records) : reason;
}

QString ReadRelease(const QVector<ReleaseFile> &files, const QString &releaseDir,
                    std::vector<ManifestFile> &records)
{
    ReleaseCopy copy(files, releaseDir, {});
    return Read(copy, false, records);
}
