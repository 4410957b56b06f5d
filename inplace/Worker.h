// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "engine/DownloadThread.h"

/// What came of a download worker.
struct WorkerResult {
    bool success = false;
    QString message; ///< the worker's; empty when it was cancelled
};

/// Runs the worker over the records of a manifest until it has ended or was cancelled, under the
/// progress dialog or, with \a console, with lines on standard error.
///
/// A worker is ended when a server sends more than the records list. Neither that nor a cancelled
/// worker has changed anything in the installation.
WorkerResult RunWorker(const QString &url, const QDir &staging, const QDir &install,
                       QList<tagDownloadFileInfo> files, bool console);
