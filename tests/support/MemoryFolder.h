// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDir>
#include <QFileInfo>
#include <QString>

/// The template of a QTemporaryDir in memory, where there is such a file system: for tests that
/// sync thousands of files and need not survive a power loss.
inline QString MemoryFolder()
{
    const QString memory = QStringLiteral("/dev/shm");
    return (QFileInfo(memory).isWritable() ? memory : QDir::tempPath()) +
           QStringLiteral("/updater-test-XXXXXX");
}
