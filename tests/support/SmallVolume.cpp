// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/SmallVolume.h"

#include <QFile>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

constexpr int Names = 200; // for files and folders on the volume

struct statvfs Free(const QString &folder)
{
    struct statvfs state {};
    if (::statvfs(QFile::encodeName(folder).constData(), &state) != 0) {
        qFatal("The volume cannot be asked.");
    }
    return state;
}

/// Makes a file of zeros that takes its space at once.
void Allocate(const QString &path, off_t bytes)
{
    const int handle = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT, 0600);
    if (handle < 0 || (bytes > 0 && ::posix_fallocate(handle, 0, bytes) != 0)) {
        qFatal("The volume cannot be filled.");
    }
    ::close(handle);
}

} // namespace

SmallVolume::SmallVolume(const QString &folder, int mebibytes) : m_folder(folder)
{
    const QByteArray options =
        QStringLiteral("size=%1m,nr_inodes=%2").arg(mebibytes).arg(Names).toLatin1();
    if (::mount("none", QFile::encodeName(folder).constData(), "tmpfs", 0, options.constData()) !=
        0) {
        qFatal("The volume cannot be mounted.");
    }
}

SmallVolume::~SmallVolume()
{
    (void)::umount2(QFile::encodeName(m_folder).constData(), MNT_DETACH);
}

QString SmallVolume::filler(int number) const
{
    return m_folder + QStringLiteral("/filler%1").arg(number);
}

void SmallVolume::fillAllBut(int pages) const
{
    const struct statvfs state = Free(m_folder);
    const auto left = static_cast<off_t>(state.f_bavail) - pages;
    Allocate(filler(0), qMax<off_t>(left, 0) * static_cast<off_t>(state.f_bsize));
}

void SmallVolume::takeAllNamesBut(int files) const
{
    for (int i = 0; Free(m_folder).f_favail > static_cast<fsfilcnt_t>(files); ++i) {
        Allocate(filler(i), 0);
    }
}

void SmallVolume::makeRoom() const
{
    for (int i = 0; i < Names; ++i) {
        (void)QFile::remove(filler(i));
    }
}
