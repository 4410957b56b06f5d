// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "engine/DownloadThread.h"

#include <QPointer>
#include <QTimer>

class QNetworkReply;

/// Ends a worker that hears nothing from the server for too long, and knows which answer it was at
/// when it failed: the worker itself tells neither address nor status.
class WorkerWatch : public QObject {
    Q_OBJECT

public:
    WorkerWatch(CDownloadThread &worker, int stallSeconds);
    ~WorkerWatch() override;
    Q_DISABLE_COPY(WorkerWatch)

    /// Whether the server was silent for too long.
    bool hasStalled() const { return m_hasStalled; }

    /// What was wrong with the answer that the worker failed over, with its address, when there was
    /// none, it broke off or it was not of status 200; empty otherwise.
    QString networkFailure() const { return m_networkFailure; }

protected:
    /// Notices the worker's replies, which nobody else can reach, by the events that they get.
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
