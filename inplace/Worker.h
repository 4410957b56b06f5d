// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "engine/DownloadThread.h"
#include "inplace/Outcome.h"
#include "inplace/StopSignals.h"

/// The task of a worker.
struct WorkerTask {
    QString url;                      ///< address of the files, which ends in '/'
    QDir staging;                     ///< where they are downloaded
    QDir install;                     ///< where they are moved at the end
    QList<tagDownloadFileInfo> files; ///< as in the manifest; at least one
    int stallSeconds = 60;            ///< how long the server may send nothing
    bool console = false;             ///< lines on standard error instead of the progress dialog
};

/// Runs the worker until it has ended or was cancelled by the user or by \a stop.
///
/// Ends a worker if a server sends more than the manifest lists, or nothing for too long.
/// Downloaded files stay in any case. Main thread; blocks in a local event loop.
Problem RunWorker(const WorkerTask &task, StopSignals &stop);
