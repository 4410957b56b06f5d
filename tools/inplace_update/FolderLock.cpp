// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tools/inplace_update/FolderLock.h"

#include <QFile>
#include <QObject>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

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

/// Removes what a run that was killed while it took or left its lock file has left: the lock file
/// would never count as stale without its content, and the other names would stay for ever.
void FolderLock::removeRemnants()
{
    qint64 processId = 0;
    QString host;
    QString program;
    if (!m_file.getLockInfo(&processId, &host, &program)) {
        (void)QFile::remove(m_path);
    }
    const QString removal = m_path + QStringLiteral(".rmlock");
    (void)QFile::remove(removal);
    (void)QFile::remove(removal + QStringLiteral(".rmlock"));
}
