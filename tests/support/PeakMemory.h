// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// Measures the peak memory of one process.
class PeakMemory {
public:
    /// Whether figures mean anything: sanitizers need memory of their own.
    static bool isComparable();

    /// What goes in front of the process's command line: a program and its arguments. It exits with
    /// the process's exit code, or with 128 plus the number of the signal that ended it.
    QStringList wrapper() const;
    /// The most memory that the process held, in MiB; negative while it has not ended.
    double mebibytes() const;

private:
    QString path() const { return m_folder.filePath(QStringLiteral("peak")); }

    QTemporaryDir m_folder;
};
