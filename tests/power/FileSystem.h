// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringList>

/// A kind of file system that the tests can make and mount.
struct FileSystem {
    QString name;          ///< "ext4", "xfs" or "btrfs"
    qint64 size;           ///< of its disk, in bytes
    QStringList make;      ///< the command that makes one; the image file is appended
    QByteArray recording;  ///< mount options while recording: writes reach the disk soon
    QByteArray afterwards; ///< mount options after the power is back
    QStringList repair;    ///< the command that repairs its first block; the disk is appended
    int repaired = 0;      ///< the exit code of that command after a repair
};

/// Returns the file system of this name; one without a name if it is unknown.
FileSystem FileSystemNamed(const QString &name);

/// Makes the file system in the image and overwrites what is there. Returns why that failed, or
/// empty text.
QString Format(const FileSystem &fileSystem, const QString &image);

/// Runs the repair command, if there is one, on an image that could not be mounted. Returns whether
/// it repaired something.
bool Repair(const FileSystem &fileSystem, const QString &image);
