// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/Descriptor.h"

#include "release/SystemCalls.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

void Descriptor::reset(int number)
{
    (void)close(); // whoever cares about errors calls close()
    m_number = number;
}

bool Descriptor::close()
{
    const int number = m_number;
    m_number = -1;
    return number < 0 || ::close(number) == 0;
}

QString OpenRegularFile(const QString &path, Descriptor &file)
{
    const QString notRegular = QStringLiteral("it is not a regular file");
    file.reset(::open(QFile::encodeName(path).constData(),
                      O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen()) {
        const int error = errno;
        QString reason = error == ELOOP ? notRegular : SystemError();
        errno = error;
        return reason;
    }
    struct stat status {};
    if (::fstat(file.number(), &status) != 0) {
        return SystemError();
    }
    return S_ISREG(status.st_mode) ? QString() : notRegular;
}
