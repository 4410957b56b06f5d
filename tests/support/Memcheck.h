// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringList>
#include <QTemporaryDir>

/// One run of a program under valgrind's memcheck, which tells of invalid accesses, of decisions by
/// values that were never set, and of memory that nothing points to at the end.
class Memcheck {
public:
    /// The command that the program's own command line is put behind. The program exits with 99
    /// when there is something to tell, and with its own exit code otherwise.
    QStringList wrapper() const;

    /// Whether the run has ended and memcheck had nothing to tell. Otherwise prints what there is,
    /// each report with its stack and with the lines that would suppress it.
    bool foundNothing() const;

private:
    QString logFile() const { return m_folder.filePath(QStringLiteral("log")); }

    QTemporaryDir m_folder;
};
