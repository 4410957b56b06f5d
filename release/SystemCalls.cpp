// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/SystemCalls.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>

QString SystemError()
{
    return QString::fromStdString(std::generic_category().message(errno));
}

bool MakeFolder(const QString &path)
{
    return ::mkdir(QFile::encodeName(path).constData(), 0777) == 0; // less the umask
}

bool Move(const QString &from, const QString &to)
{
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

bool WriteAll(QFile &file, const char *block, qint64 length)
{
    // A write that ends early is gone on with, so that the error shows.
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

void StartWriting(const QFile &file)
{
#ifdef SYNC_FILE_RANGE_WRITE
    (void)::sync_file_range(file.handle(), 0, 0, SYNC_FILE_RANGE_WRITE);
#else
    Q_UNUSED(file)
#endif
}
