// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/power/FileSystem.h"

#include "tests/power/SparseFile.h"

#include <QProcess>
#include <QStandardPaths>

namespace {

constexpr qint64 MiB = qint64{1} << 20U;

QString FindProgram(const QString &name)
{
    const QString found = QStandardPaths::findExecutable(name);
    return found.isEmpty() ? QStandardPaths::findExecutable(name, {"/usr/sbin", "/sbin"}) : found;
}

/// Runs a command on an image. Returns its exit code, or -1 if it did not end by itself.
int Run(const QStringList &command, const QString &image, QString &errors)
{
    QProcess process;
    process.start(FindProgram(command.first()), command.mid(1) + QStringList{image});
    const bool ended = process.waitForFinished() && process.exitStatus() == QProcess::NormalExit;
    errors = ended ? QString::fromUtf8(process.readAllStandardError()) : process.errorString();
    return ended ? process.exitCode() : -1;
}

} // namespace

FileSystem FileSystemNamed(const QString &name)
{
    // One checksum covers all sectors of the first block of ext4 and btrfs. If that block is torn,
    // it is repaired from its copies, as a machine does at boot. Two btrfs or xfs disks with the
    // same identity cannot be mounted at once.
    const FileSystem all[] = {
        {"ext4",
         128 * MiB,
         {"mkfs.ext4", "-q", "-F", "-E", "nodiscard,lazy_itable_init=0,lazy_journal_init=0"},
         "commit=1",
         "",
         {"e2fsck", "-f", "-y"},
         1},
        {"xfs", 300 * MiB, {"mkfs.xfs", "-q", "-f", "-K"}, "", "nouuid", {}, 0},
        {"btrfs",
         256 * MiB,
         {"mkfs.btrfs", "-q", "-f", "-K"},
         "commit=1",
         "",
         {"btrfs", "rescue", "super-recover", "-y"},
         2},
    };
    for (const FileSystem &one : all) {
        if (one.name == name) {
            return one;
        }
    }
    return {};
}

QString Format(const FileSystem &fileSystem, const QString &image)
{
    const SparseFile disk(image, fileSystem.size);
    const QString program = FindProgram(fileSystem.make.first());
    QProcess process;
    process.start(program, fileSystem.make.mid(1) + QStringList{image});
    if (program.isEmpty() || !process.waitForFinished() || process.exitCode() != 0) {
        return QStringLiteral("%1: %2").arg(fileSystem.make.first(),
                                            QString::fromUtf8(process.readAllStandardError()));
    }
    disk.digHoles();
    return {};
}

bool Repair(const FileSystem &fileSystem, const QString &image)
{
    QString errors;
    return !fileSystem.repair.isEmpty() &&
           Run(fileSystem.repair, image, errors) == fileSystem.repaired;
}
