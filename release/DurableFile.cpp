// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/DurableFile.h"

#include "release/Descriptor.h"
#include "release/FileCalls.h"
#include "release/SystemCalls.h"
#include "release/Workers.h"

#include <QFileInfo>
#include <QThread>

#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t WhileWriting = 0600;

QString WriteReason(const QString &path)
{
    return QStringLiteral("\"%1\" cannot be written: %2").arg(path, SystemError());
}

QString SyncReason(const QString &path)
{
    return QStringLiteral("\"%1\" cannot be synced: %2").arg(path, SystemError());
}

/// Returns whether the \a sync of a folder succeeded or was not needed.
bool IsFolderSynced(bool sync)
{
    return sync || errno == EINVAL; // a file system that syncs no folders
}

/// Opens a file or folder only to sync it.
int OpenToSync(const char *path, int flags)
{
    return ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | flags);
}

bool WriteScratch(const char *scratch, const QByteArray &content, int mode)
{
    if (::unlink(scratch) != 0 && errno != ENOENT) {
        return false;
    }
    Descriptor file(
        ::open(scratch, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, WhileWriting));
    return file.isOpen() &&
           WriteAll(file.number(), content.constData(), static_cast<std::size_t>(content.size())) &&
           ::fchmod(file.number(), static_cast<mode_t>(mode)) == 0 &&
           SyncThroughDisk(file.number()) && file.close();
}

/// Syncs one file or folder of a tree.
bool SyncEntry(int tree, const QByteArray &path)
{
    const Descriptor here(
        ::openat(tree, path.constData(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    if (!here.isOpen()) {
        return errno == ENOENT;
    }
    if (SyncInTree(here.number())) {
        return true;
    }
    const int error = errno;
    struct stat about {};
    const bool isFolder = ::fstat(here.number(), &about) == 0 && S_ISDIR(about.st_mode);
    errno = error;
    return IsFolderSynced(false) && isFolder;
}

/// Syncs the entries of a tree with all processors. Returns why one cannot be synced, or empty
/// text.
QString SyncEntries(const QString &folder, int tree, const std::vector<QByteArray> &paths)
{
    Tickets tickets(static_cast<int>(paths.size()));
    std::mutex mutex;
    QString reason;
    const auto work = [&] {
        for (int ticket = tickets.take(); ticket >= 0; ticket = tickets.take()) {
            const QByteArray &path = paths[static_cast<std::size_t>(ticket)];
            if (!SyncEntry(tree, path)) {
                const std::lock_guard<std::mutex> lock(mutex);
                reason = SyncReason(folder + QLatin1Char('/') + QFile::decodeName(path));
                tickets.stop();
            }
        }
    };
    RunWorkers(paths.size() > 1 ? QThread::idealThreadCount() : 0, work, [] {});
    return reason;
}

} // namespace

QString WriteDurably(const QString &path, const QString &scratch, const QByteArray &content,
                     int mode)
{
    const QByteArray work = QFile::encodeName(scratch);
    if (!WriteScratch(work.constData(), content, mode) || !Move(scratch, path)) {
        QString reason = WriteReason(path);
        (void)::unlink(work.constData()); // one that stays is removed by the next run
        return reason;
    }
    return SyncFolder(QFileInfo(path).path()) ? QString() : WriteReason(path);
}

bool SyncFile(int descriptor)
{
    return SyncThroughDisk(descriptor);
}

bool SyncFile(const QString &path)
{
    const Descriptor file(OpenToSync(QFile::encodeName(path).constData(), O_NOFOLLOW));
    return file.isOpen() && SyncThroughDisk(file.number());
}

bool SyncFolder(const QString &path)
{
    const Descriptor folder(OpenToSync(QFile::encodeName(path).constData(), O_DIRECTORY));
    return folder.isOpen() && IsFolderSynced(SyncThroughDisk(folder.number()));
}

QString SyncTree(const QString &folder, const std::vector<QByteArray> &paths)
{
    const Descriptor top(OpenToSync(QFile::encodeName(folder).constData(), O_DIRECTORY));
    // Earlier write errors are only reported entry by entry.
    if (!top.isOpen() || !SyncVolume(top.number())) {
        return SyncReason(folder);
    }
    QString reason = SyncEntries(folder, top.number(), paths);
    if (!reason.isEmpty()) {
        return reason;
    }
    // This last sync empties the disk's cache for all of them.
    return IsFolderSynced(SyncThroughDisk(top.number())) ? QString() : SyncReason(folder);
}
