// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "engine/DownloadThread.h"

#include <QElapsedTimer>

/// Prints a worker's progress on standard error: a line for each file that begins, and one a second
/// during a long one, with the bytes and the percentage of the whole.
class WorkerLines : public QObject {
    Q_OBJECT

public:
    /// \a listed  the worker's records, with the sizes as in the manifest. The first transfer was
    ///            announced before a slot could be connected, so its line is printed here.
    WorkerLines(const CDownloadThread &worker, QList<tagDownloadFileInfo> listed);

private:
    void begin(int current);
    void look(int64_t received);
    void say(quint64 received);

    const QList<tagDownloadFileInfo> m_listed;
    quint64 m_total = 0;
    quint64 m_before = 0; ///< bytes of the files before the current one
    int m_current = 0;
    QElapsedTimer m_said;
};
