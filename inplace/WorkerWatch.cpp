// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/WorkerWatch.h"

#include <QCoreApplication>
#include <QNetworkReply>

#include <chrono>

WorkerWatch::WorkerWatch(CDownloadThread &worker, int stallSeconds)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(std::chrono::seconds(stallSeconds));
    connect(&m_timer, &QTimer::timeout, &worker, [this, &worker] {
        m_hasStalled = true;
        worker.quit();
    });
    connect(&worker, &CDownloadThread::downloadStarted, this, [this] {
        m_received = 0;
        m_timer.start();
    });
    connect(&worker, &CDownloadThread::downloadProgress, this, &WorkerWatch::look);
    connect(&worker, &CDownloadThread::downloadFail, this, &WorkerWatch::note);
    QCoreApplication::instance()->installEventFilter(this);
    m_timer.start(); // the first transfer is under way
}

WorkerWatch::~WorkerWatch()
{
    QCoreApplication::instance()->removeEventFilter(this);
}

bool WorkerWatch::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_reply) {
        if (auto *reply = qobject_cast<QNetworkReply *>(watched)) {
            m_reply = reply;
        }
    }
    return QObject::eventFilter(watched, event);
}

void WorkerWatch::look(int64_t received)
{
    if (received != m_received) {
        m_received = received;
        m_timer.start();
    }
}

void WorkerWatch::note()
{
    if (!m_reply || !m_reply->isFinished()) {
        return;
    }
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status != 200 || m_reply->error() != QNetworkReply::NoError) { // or broken off
        m_networkFailure =
            QStringLiteral("%1,status=%2,%3")
                .arg(m_reply->url().toString(), QString::number(status), m_reply->errorString());
    }
}
