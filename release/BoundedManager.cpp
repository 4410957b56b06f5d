// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/BoundedManager.h"

#include <QNetworkReply>

BoundedManager::BoundedManager()
{
    setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
}

QNetworkReply *BoundedManager::createRequest(Operation operation, const QNetworkRequest &request,
                                             QIODevice *outgoingData)
{
    QNetworkReply *reply = QNetworkAccessManager::createRequest(operation, request, outgoingData);
    m_reply = reply;
    m_body = Body::Pending;
    m_isEndKnown = false;
    QObject::connect(
        reply, &QNetworkReply::downloadProgress, this,
        [this, reply](qint64 received, qint64 total) { look(reply, qMax(received, total)); });
    QObject::connect(reply, &QNetworkReply::finished, this, [this, reply] { end(reply); });
    return reply;
}

void BoundedManager::look(QNetworkReply *reply, qint64 length)
{
    if (reply == m_reply && m_body == Body::Pending && length > m_limit) {
        m_body = Body::TooLong;
        reply->abort();
    }
}

void BoundedManager::end(const QNetworkReply *reply)
{
    if (reply != m_reply || m_body != Body::Pending) {
        return;
    }
    const QVariant told = reply->header(QNetworkRequest::ContentLengthHeader);
    const bool isShort = told.isValid() && told.toLongLong() != reply->bytesAvailable();
    const bool isBroken = isShort || reply->error() != QNetworkReply::NoError;
    m_body = isBroken ? Body::BrokenOff : Body::Whole;
    m_isEndKnown =
        told.isValid() || reply->attribute(QNetworkRequest::Http2WasUsedAttribute).toBool();
}
