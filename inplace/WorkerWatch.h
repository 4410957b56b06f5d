// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "engine/DownloadThread.h"

#include <QPointer>
#include <QTimer>

class QNetworkReply;

/// Ends a worker that receives nothing from the server for too long, and knows which response it
/// failed at: the worker itself reports neither address nor status.
class WorkerWatch : public QObject {
    Q_OBJECT

public:
    WorkerWatch(CDownloadThread &worker, int stallSeconds);
    ~WorkerWatch() override;
    Q_DISABLE_COPY(WorkerWatch)

    /// Whether the server was silent for too long.
    bool hasStalled() const { return m_hasStalled; }

    /// What was wrong with the response at which the worker failed, with its address, if there was
    /// none, it broke off or its status was not 200; empty otherwise.
    QString networkFailure() const { return m_networkFailure; }

protected:
    /// Notices the worker's replies, which are not accessible otherwise, by their events.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void look(int64_t received);
    void note();

    QTimer m_timer;
    QPointer<QNetworkReply> m_reply;
    int64_t m_received = 0;
    bool m_hasStalled = false;
    QString m_networkFailure;
};
