// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "core/Func.h"

#include <QNetworkReply>
#include <QPointer>

/// One call of GetFileByUrl() whose arguments a test sets one by one. The out-parameters start with
/// known contents, so that a test sees which of them were changed.
struct FetchCall {
    qint32 timeout = 20;
    QMap<QByteArray, QByteArray> headers;
    QByteArray verb = "GET";
    QByteArray body;
    QByteArray data = "data before";
    QString error = QStringLiteral("error before");
    QMap<QByteArray, QByteArray> responseHeaders{{"Before", "header before"}};

    bool run(QNetworkAccessManager &manager, const QUrl &url)
    {
        return GetFileByUrl(manager, url, data, error, timeout, headers, verb, body,
                            &responseHeaders);
    }

    /// Whether the outputs of a success are as they were before the call.
    bool successOutputsUntouched() const
    {
        return data == FetchCall().data && responseHeaders == FetchCall().responseHeaders;
    }
};

/// A manager that remembers its last request and the reply to it, for as long as the reply lives.
class WatchedManager : public QNetworkAccessManager {
public:
    QNetworkReply *reply() const { return m_reply; }
    /// As the caller made it, without what the network layer adds.
    QNetworkRequest request() const { return m_request; }

protected:
    QNetworkReply *createRequest(Operation operation, const QNetworkRequest &request,
                                 QIODevice *body) override
    {
        m_request = request;
        m_reply = QNetworkAccessManager::createRequest(operation, request, body);
        return m_reply;
    }

private:
    QNetworkRequest m_request;
    QPointer<QNetworkReply> m_reply;
};
