// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/WatchedManager.h"

#include <QNetworkReply>

WatchedManager::WatchedManager(qint64 limit) : m_limit(limit) {}

QString WatchedManager::problem() const
{
    return m_problem.isEmpty() && !m_finished ? QObject::tr("内容不完整") : m_problem;
}

QNetworkReply *WatchedManager::createRequest(Operation operation, const QNetworkRequest &request,
                                             QIODevice *outgoingData)
{
    QNetworkReply *reply = QNetworkAccessManager::createRequest(operation, request, outgoingData);
    const auto look = [this, reply](qint64 received, qint64 total) {
        if (m_problem.isEmpty() && qMax(received, total) > m_limit) {
            m_problem = QObject::tr("内容超过%1字节").arg(m_limit);
            reply->abort();
        }
    };
    const auto end = [this, reply] {
        m_finished = true;
        const QVariant told = reply->header(QNetworkRequest::ContentLengthHeader);
        const bool isShort = told.isValid() && told.toLongLong() != reply->bytesAvailable();
        if (m_problem.isEmpty() && (isShort || reply->error() != QNetworkReply::NoError)) {
            m_problem = QObject::tr("内容不完整");
        }
    };
    QObject::connect(reply, &QNetworkReply::downloadProgress, this, look);
    QObject::connect(reply, &QNetworkReply::finished, this, end);
    return reply;
}
