// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/SystemCalls.h"

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

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

bool WriteAll(int descriptor, const char *block, std::size_t length)
{
    // Continue after a short write so that the error surfaces.
    while (length > 0) {
        const ssize_t written = ::write(descriptor, block, length);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            errno = written == 0 ? EIO : errno;
            return false;
        }
        block += written;
        length -= static_cast<std::size_t>(written);
    }
    return true;
}
