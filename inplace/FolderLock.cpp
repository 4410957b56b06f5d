// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/FolderLock.h"

#include <QFile>
#include <QObject>
#include <QSysInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

/// Whether a process holds the lock file, as everyone does who has it.
bool IsHeld(const QString &path)
{
    const int handle = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    const bool held = handle >= 0 && ::flock(handle, LOCK_EX | LOCK_NB) != 0;
    if (handle >= 0) {
        ::close(handle);
    }
    return held;
}

} // namespace

FolderLock::FolderLock(const QDir &folder)
    : m_folder(folder.absolutePath()),
      m_path(folder.absoluteFilePath(QStringLiteral("inplace_update#lock"))), m_file(m_path)
{
    m_file.setStaleLockTime(0); // an update may take long; only a dead one's lock is stale
}

FolderLock::~FolderLock()
{
    m_file.unlock();
    if (m_handle >= 0) {
        ::close(m_handle);
    }
}

QString FolderLock::take()
{
    QString inUse = QObject::tr("另一个升级正在使用目录%1").arg(m_folder);
    // The system's own lock on the folder ends with its process, and leaves nothing behind. A
    // volume without such locks has the lock file alone.
    m_handle = ::open(QFile::encodeName(m_folder).constData(), O_RDONLY | O_CLOEXEC);
    if (m_handle >= 0 && ::flock(m_handle, LOCK_EX | LOCK_NB) == 0) {
        removeRemnants();
    } else if (errno == EWOULDBLOCK) {
        return inUse;
    }
    if (m_file.tryLock(0)) {
        return {};
    }
    return m_file.error() == QLockFile::LockFailedError
               ? inUse
               : QObject::tr("目录%1无法写入").arg(m_folder);
}

/// Removes what a killed run has left: its lock file, which would not count as stale while it is
/// without content or when some other process, this one included, has got its number since; and
/// the other names that a run takes for a moment. What another machine has left stays.
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
