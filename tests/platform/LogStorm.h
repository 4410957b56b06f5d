// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/ChildProcess.h"

#include <QDir>
#include <QHash>
#include <QTemporaryDir>

#include <memory>
#include <vector>

/// The contents of log files that a storm has written.
struct StormLines {
    /// Which line it is.
    struct Id {
        int process;
        int thread;
        int number;
        bool operator==(const Id &other) const
        {
            return process == other.process && thread == other.thread && number == other.number;
        }
    };

    QHash<Id, QByteArray> days; ///< of each whole line its date
    QList<QByteArray> broken;   ///< lines that are not whole
    int doubled = 0;

    /// Reads the whole content of a file. A cut-off piece of a line may be followed by a whole
    /// line; that line counts, and both together are one broken line.
    void add(const QByteArray &content);
    /// How many runs of lines are missing from the first \a logged lines of a thread.
    int gaps(int process, int thread, int logged) const;
};

/// Four processes of eight threads each, which log into one folder as fast as they can. The time
/// zone is UTC.
class LogStorm {
public:
    static constexpr int Processes = 4;
    static constexpr int Threads = 8;

    LogStorm();

    /// The data directory, below which the log is.
    QDir data() const { return QDir(m_folder.filePath(QStringLiteral("data"))); }
    /// The one log file that there is, or an empty path.
    QString logFile() const;

    /// Starts the processes. \a lines is how many each thread logs; 0: until stop().
    void start(int lines = 0, const QStringList &options = {});
    /// Waits until every process that runs has logged a lot more, whether it could be written or
    /// not. False when that takes too long.
    bool goesOn() const;
    void kill(int process);
    /// Ends the storm and waits. False when a process that was not killed does not end well.
    bool stop();

    /// How many lines a thread has logged; -1 when its process was killed. Known after stop().
    int logged(int process, int thread) const;
    /// How many messages have reached the handler that was installed before the log's.
    int passedOn() const;

    QProcessEnvironment environment;

private:
    QString errorFile(int process) const;

    QTemporaryDir m_folder;
    std::vector<std::unique_ptr<ChildProcess>> m_processes;
    std::vector<QList<QByteArray>> m_logged;
};

uint qHash(const StormLines::Id &id);
