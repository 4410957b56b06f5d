// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QStringList>
#include <QTemporaryDir>

/// One run of a program under valgrind's memcheck, which reports invalid accesses, decisions based
/// on uninitialised values, and memory that nothing points to at the end.
class Memcheck {
public:
    /// The command to put in front of the program's own command line. The program exits with 99 if
    /// there is something to report, otherwise with its own exit code.
    QStringList wrapper() const;

    /// Whether the run has ended and memcheck had nothing to report. Otherwise prints the reports,
    /// each with its stack and the lines that would suppress it.
    bool foundNothing() const;

private:
    QString logFile() const { return m_folder.filePath(QStringLiteral("log")); }

    QTemporaryDir m_folder;
};
