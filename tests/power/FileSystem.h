// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringList>

/// A kind of file system that the tests know to make and to mount.
struct FileSystem {
    QString name;          ///< "ext4", "xfs" or "btrfs"
    qint64 size;           ///< of its disk, in bytes
    QStringList make;      ///< the command that makes one in the file that is its last argument
    QByteArray recording;  ///< options to mount it with while it is recorded: soon on the disk
    QByteArray afterwards; ///< options to mount it with when the power is back
    QStringList repair;    ///< the command that mends its first block, followed by the disk
    int repaired = 0;      ///< the exit code by which the command says that it did
};

/// Returns the file system of this name; one without a name when it is not known.
FileSystem FileSystemNamed(const QString &name);

/// Makes it in the image, over everything that is there. Returns why that failed, or empty text.
QString Format(const FileSystem &fileSystem, const QString &image);

/// Runs the repair command, where there is one, on the image that could not be mounted. Returns
/// whether it mended something.
bool Repair(const FileSystem &fileSystem, const QString &image);
