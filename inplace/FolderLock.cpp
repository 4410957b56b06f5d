// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/FolderLock.h"

#include "release/Descriptor.h"

#include <QFile>
#include <QObject>
#include <QSysInfo>
#include <QThread>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

/// Whether a process holds the lock file: whoever has the lock also locks the file.
bool IsHeld(const QString &path)
{
    const int handle = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    const bool held = handle >= 0 && ::flock(handle, LOCK_EX | LOCK_NB) != 0;
    if (handle >= 0) {
        ::close(handle);
    }
    return held;
}

/// Takes a folder lock that others hold only briefly.
bool LockSoon(int folder)
{
    constexpr int Tries = 100;
    for (int attempt = 0; attempt < Tries; ++attempt) {
        if (::flock(folder, LOCK_EX | LOCK_NB) == 0) {
            return true;
        }
        if (errno != EWOULDBLOCK) {
            return false;
        }
        QThread::msleep(10);
    }
    errno = EWOULDBLOCK;
    return false;
}

} // namespace

FolderLock::FolderLock(const QDir &folder, const QString &name)
    : m_folder(folder.absolutePath()), m_path(folder.absoluteFilePath(name)), m_file(m_path)
{
    m_file.setStaleLockTime(0); // an update may take long; only a dead process's lock is stale
}

FolderLock::~FolderLock()
{
    m_file.unlock();
}

Problem FolderLock::take()
{
    const Problem busy{End::Busy, QObject::tr("另一个升级正在使用目录%1").arg(m_folder)};
    {
        // The system's own lock on the folder keeps others away while leftovers are examined.
        // Volumes without such locks have only the lock file.
        const Descriptor folder(
            ::open(QFile::encodeName(m_folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (folder.isOpen() && LockSoon(folder.number())) {
            removeRemnants();
        } else if (errno == EWOULDBLOCK) {
            return busy;
        }
        if (m_file.tryLock(0)) {
            return {};
        }
    }
    return m_file.error() == QLockFile::LockFailedError
               ? busy
               : Problem{End::NotWritable, QObject::tr("目录%1无法写入").arg(m_folder)};
}

/// Removes what a killed run left behind: its lock file, which would not count as stale while it is
/// empty or if its process number has been reused, even by this process; and the other names that a
/// run uses briefly. What another machine left stays.
void FolderLock::removeRemnants()
{
    qint64 processId = 0;
    QString host;
    QString program;
    const bool named = m_file.getLockInfo(&processId, &host, &program);
    const bool ours = host.isEmpty() || host == QSysInfo::machineHostName();
    if (!named || (ours && !IsHeld(m_path))) {
        (void)QFile::remove(m_path);
    }
    const QString removal = m_path + QStringLiteral(".rmlock");
    (void)QFile::remove(removal);
    (void)QFile::remove(removal + QStringLiteral(".rmlock"));
}
