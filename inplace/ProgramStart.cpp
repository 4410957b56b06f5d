// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/ProgramStart.h"

#include "release/Descriptor.h"

#include <QtEndian>

#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int BeginningSize = 8;

} // namespace

bool BeginsLikeAProgram(const QByteArray &beginning)
{
    if (beginning.startsWith("#!") || beginning.startsWith("\177ELF")) {
        return true;
    }
    if (beginning.size() < BeginningSize) {
        return false;
    }
    const auto magic = qFromBigEndian<quint32>(beginning.constData());
    switch (magic) {
    case 0xFEEDFACE: // Mach-O of 32 and 64 bits, in either byte order
    case 0xFEEDFACF:
    case 0xCEFAEDFE:
    case 0xCFFAEDFE:
        return true;
    case 0xCAFEBABE: // several in one file, with their number; Java classes begin the same way, but
    case 0xCAFEBABF: // have a version from 45 on there
        return qFromBigEndian<quint32>(beginning.constData() + 4) < 45;
    default:
        return false;
    }
}

void MakeProgramExecutable(int folder, const char *name)
{
    const Descriptor file(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    std::array<char, BeginningSize> beginning{};
    struct stat about {};
    const ssize_t length = file.isOpen() && ::fstat(file.number(), &about) == 0
                               ? ::read(file.number(), beginning.data(), beginning.size())
                               : 0;
    if (length > 0 && BeginsLikeAProgram(QByteArray(beginning.data(), static_cast<int>(length)))) {
        // Each bit for execution is two places below the one for reading.
        (void)::fchmod(file.number(), (about.st_mode | ((about.st_mode & 0444U) >> 2U)) & 0777U);
    }
}
