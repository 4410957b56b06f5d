// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ReleaseCopy.h"

#include "publish/ProgressBar.h"
#include "release/SystemCalls.h"
#include "release/Workers.h"

#include <QCryptographicHash>
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

QString WriteReason(const QFile &file, const QString &error)
{
    return QStringLiteral("\"%1\" cannot be written: %2.").arg(file.fileName(), error);
}

/// Opens the regular file \a path below \a folder. What has taken its name since it was found,
/// such as a link or a pipe, is neither followed nor waited for. Returns why that failed, or empty
/// text.
QString OpenRegular(const QString &folder, const QString &path, QFile &file)
{
    const int descriptor = ::open(QFile::encodeName(folder + path).constData(),
                                  O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0 && errno != ELOOP) {
        return ReadReason(path, SystemError());
    }
    struct stat status {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        (void)::close(descriptor);
        return QStringLiteral("\"%1\" is no regular file any more.").arg(path);
    }
    if (!file.open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered,
                   QFileDevice::AutoCloseHandle)) {
        (void)::close(descriptor);
        return ReadReason(path, file.errorString());
    }
    return {};
}

/// One copy of a release, shared by its threads.
class ReleaseCopy {
public:
    ReleaseCopy(const QVector<ReleaseFile> &files, const QString &source, const QString &target)
        : m_files(files), m_source(source + QLatin1Char('/')), m_target(target + QLatin1Char('/')),
          m_records(static_cast<std::size_t>(files.size())), m_order(files.size()),
          m_toCopy(files.size()), m_toSync(files.size())
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
            if (!QDir().mkpath(m_target + folder)) {
                return QStringLiteral("The folder \"%1\" cannot be created.")
                    .arg(m_target + folder);
            }
            made.insert(folder);
        }
        return {};
    }

    void copyFiles() { forEachFile(m_toCopy, &ReleaseCopy::copyFile); }

    /// Waits until the copies will survive a loss of power. To be called when all are made: a file
    /// that was copied first is mostly on the disk by then, and one wait serves many.
    void syncFiles() { forEachFile(m_toSync, &ReleaseCopy::syncFile); }

    void show(ProgressBar &bar) const
    {
        bar.show(m_bytesDone, m_size,
                 QStringLiteral("%1 of %2 files copied")
                     .arg(QString::number(m_filesDone), QString::number(m_files.size())));
    }

    QString reason() const { return m_reason; }
    const std::vector<tagDownloadFileInfo> &records() const { return m_records; }

private:
    /// Calls \a step for files until there are no more \a tickets, or one has failed.
    void forEachFile(Tickets &tickets, QString (ReleaseCopy::*step)(int))
    {
        for (int ticket = tickets.take(); ticket >= 0; ticket = tickets.take()) {
            const QString reason = (this->*step)(m_order.at(ticket));
            if (!reason.isEmpty()) {
                tickets.stop();
                const std::lock_guard<std::mutex> guard(m_mutex);
                m_reason = reason;
            }
        }
    }

    QString syncFile(int index)
    {
        QFile target(m_target + m_files.at(index).path);
        if (!target.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
            return WriteReason(target, target.errorString());
        }
        return ::fsync(target.handle()) == 0 ? QString() : WriteReason(target, SystemError());
    }

    QString copyFile(int index)
    {
        const ReleaseFile &file = m_files.at(index);
        QFile source;
        if (QString reason = OpenRegular(m_source, file.path, source); !reason.isEmpty()) {
            return reason;
        }
        QFile target(m_target + file.path);
        if (!target.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered)) {
            return WriteReason(target, target.errorString());
        }
        QCryptographicHash hash(QCryptographicHash::Md5);
        qint64 size = 0;
        std::array<char, BlockSize> block;
        while (size <= file.size) { // a file that grows for ever must come to an end too
            const qint64 length = source.read(block.data(), block.size());
            if (length == 0) {
                break;
            }
            if (length < 0) {
                return ReadReason(file.path, source.errorString());
            }
            hash.addData(block.data(), static_cast<int>(length));
            if (!WriteAll(target, block.data(), length)) {
                return WriteReason(target, target.errorString());
            }
            size += length;
            m_bytesDone += length;
        }
        if (size != file.size) {
            return QStringLiteral("\"%1\" changed its size while it was copied.").arg(file.path);
        }
        StartWriting(target);
        const auto whole = static_cast<quint64>(size);
        m_records[static_cast<std::size_t>(index)] = {file.path, static_cast<quint32>(whole >> 32U),
                                                      static_cast<quint32>(whole),
                                                      Md5Text(hash.result())};
        ++m_filesDone;
        return {};
    }

    const QVector<ReleaseFile> &m_files;
    // Texts that paths are put behind: QDir fills a cache when it is first asked for an absolute
    // path, which the threads must not do at once.
    const QString m_source;
    const QString m_target;
    std::vector<tagDownloadFileInfo> m_records; // one element is one thread's
    QVector<int> m_order;
    Tickets m_toCopy;
    Tickets m_toSync;
    qint64 m_size = 0;
    std::atomic<qint64> m_bytesDone{0};
    std::atomic<int> m_filesDone{0};
    std::mutex m_mutex;
    QString m_reason;
};

} // namespace

QString CopyRelease(const QVector<ReleaseFile> &files, const QString &releaseDir,
                    const QString &targetDir, std::vector<tagDownloadFileInfo> &records)
{
    ReleaseCopy copy(files, releaseDir, targetDir);
    if (QString reason = copy.makeFolders(); !reason.isEmpty()) {
        return reason;
    }
    ProgressBar bar;
    const auto onEveryCore = [&copy, &bar](const std::function<void()> &work) {
        RunWorkers(QThread::idealThreadCount(), work, [&copy, &bar] { copy.show(bar); });
    };
    onEveryCore([&copy] { copy.copyFiles(); });
    if (copy.reason().isEmpty()) {
        onEveryCore([&copy] { copy.syncFiles(); });
    }
    if (copy.reason().isEmpty()) {
        records = copy.records();
    }
    return copy.reason();
}
