// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "engine/DownloadThread.h"
#include "inplace/Outcome.h"
#include "inplace/StopSignals.h"

/// What a worker is to do, and for whom.
struct WorkerTask {
    QString url;                      ///< address of the files, which ends in '/'
    QDir staging;                     ///< where they are downloaded
    QDir install;                     ///< where they are moved in the end
    QList<tagDownloadFileInfo> files; ///< as the manifest has them; at least one
    int stallSeconds = 60;            ///< how long the server may send nothing
    bool console = false;             ///< lines on standard error instead of the progress dialog
};

/// Runs the worker until it has ended or was cancelled by the user or by \a stop.
///
/// A worker is ended when a server sends more than the manifest lists, or nothing for too long.
/// None of these, nor a failure, takes back what is downloaded. Main thread; blocks in a local
/// event loop.
Problem RunWorker(const WorkerTask &task, StopSignals &stop);
