// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// Measures the most memory that one process holds at one time.
class PeakMemory {
public:
    /// Whether figures say something of the program: sanitizers need memory of their own.
    static bool isComparable();

    /// What stands in front of the process's command line: a program and its arguments. The whole
    /// ends with the process's exit code, or with 128 and the number of the signal that ended it.
    QStringList wrapper() const;
    /// The most memory that the process held, in MiB; negative while it has not ended.
    double mebibytes() const;

private:
    QString path() const { return m_folder.filePath(QStringLiteral("peak")); }

    QTemporaryDir m_folder;
};
