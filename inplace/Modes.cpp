// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Modes.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>

namespace {

constexpr int BeginningSize = 8;

/// The mode alone: what the present user may do as well would be written into the owner's bits.
QFile::Permissions Mode(const QFileInfo &info)
{
    return info.permissions() & QFile::Permissions(0x7077);
}

QFile::Permissions WithExecution(QFile::Permissions mode)
{
    // Everybody's bit for execution stands two below the one for reading.
    return mode | QFile::Permissions((static_cast<int>(mode) & 0x4044) >> 2);
}

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
    case 0xCAFEBABE: // several of them in one file, by their number; Java classes begin alike, but
    case 0xCAFEBABF: // have a version from 45 on there
        return qFromBigEndian<quint32>(beginning.constData() + 4) < 45;
    default:
        return false;
    }
}

bool SettleMode(const Replacement &replacement, const QDir &install)
{
    QFile target(install.absoluteFilePath(replacement.file.path));
    const QFileInfo kept(KeptPath(replacement, install));
    if (replacement.before == Replacement::Before::File && kept.exists()) {
        return target.setPermissions(Mode(kept));
    }
    if (!target.open(QIODevice::ReadOnly)) {
        return false;
    }
    return !BeginsLikeAProgram(target.read(BeginningSize)) ||
           target.setPermissions(WithExecution(Mode(QFileInfo(target))));
}
