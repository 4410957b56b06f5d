// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "engine/DownloadThread.h"

#include <QElapsedTimer>

/// Says on standard error how far a worker is: a line for each file that begins, and one a second
/// within a long one, with bytes and per cent of the whole.
class WorkerLines : public QObject {
    Q_OBJECT

public:
    /// \a listed  the worker's records, with the sizes as the manifest gave them. The start of the
    /// first transfer was told before anybody could listen, so its line comes here.
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
