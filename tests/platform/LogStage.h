// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Stage.h"

/// A stage for the log's driver: the data directory is the folder "data", the time zone is UTC and
/// the clock stands at noon of 2024-03-07 unless a run sets it otherwise.
class LogStage : public Stage {
public:
    LogStage();

    /// Runs the driver with the clock stopped at noon.
    RunResult run(const QStringList &commands);

    /// Returns the line for \a text at noon.
    static QByteArray line(char type, const QByteArray &text);

    /// The day's file in the data directory.
    static const QString day;
};
