// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/DurableFile.h"

#include "release/Descriptor.h"
#include "release/FileCalls.h"
#include "release/SystemCalls.h"

#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr mode_t WhileWriting = 0600;

QString WriteReason(const QString &path)
{
    return QStringLiteral("\"%1\" cannot be written: %2").arg(path, SystemError());
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

/// Syncs one entry of a tree, of whatever type.
bool SyncEntry(const fs::directory_entry &entry)
{
    std::error_code error;
    // What the folder tells of its entries is asked, which spares a call for each of them.
    const bool isLink = entry.is_symlink(error);
    const bool isFolder = !error && !isLink && entry.is_directory(error);
    const bool isFile = !error && !isLink && !isFolder && entry.is_regular_file(error);
    if (error) {
        errno = error.value();
        return false;
    }
    if (!isFolder && !isFile) {
        return true; // a link is synced with its folder
    }
    const Descriptor here(
        OpenToSync(entry.path().c_str(), O_NOFOLLOW | (isFolder ? O_DIRECTORY : 0)));
    return here.isOpen() && (SyncInTree(here.number()) || (isFolder && IsFolderSynced(false)));
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

QString SyncTree(const QString &folder)
{
    const auto reason = [](const QString &path, const QString &error) {
        return QStringLiteral("\"%1\" cannot be synced: %2").arg(path, error);
    };
    const Descriptor top(OpenToSync(QFile::encodeName(folder).constData(), O_DIRECTORY));
    if (!top.isOpen()) {
        return reason(folder, SystemError());
    }
    // Earlier write errors are only reported file by file, below.
    if (!SyncVolume(top.number())) {
        return reason(folder, SystemError());
    }
    std::error_code error;
    fs::recursive_directory_iterator at(QFile::encodeName(folder).toStdString(), error);
    for (; !error && at != fs::recursive_directory_iterator(); at.increment(error)) {
        if (!SyncEntry(*at)) {
            return reason(QFile::decodeName(at->path().c_str()), SystemError());
        }
    }
    if (error) {
        return reason(folder, QString::fromStdString(error.message()));
    }
    // This last sync empties the disk's cache for all of them.
    return IsFolderSynced(SyncThroughDisk(top.number())) ? QString()
                                                         : reason(folder, SystemError());
}
