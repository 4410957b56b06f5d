// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QNetworkAccessManager>
#include <QPointer>

/// A network access manager that aborts a body that is too long and notices one that was cut off:
/// the fetch itself takes every body of status 200 as complete. It follows no redirects. For one
/// request after another, on the thread that made it.
class BoundedManager : public QNetworkAccessManager {
public:
    enum class Body { Pending, Whole, TooLong, BrokenOff };

    BoundedManager();

    /// The limit of the next body, in bytes.
    void setLimit(qint64 limit) { m_limit = limit; }

    /// How the body of the last request came, or that it is still under way.
    Body body() const { return m_body; }

    /// Whether a last body that broke off would have been noticed: the server said how long it is,
    /// or the protocol marks its end. Chunks do not count: a missing last one is passed over.
    bool isEndKnown() const { return m_isEndKnown; }

protected:
    QNetworkReply *createRequest(Operation operation, const QNetworkRequest &request,
                                 QIODevice *outgoingData) override;

private:
    void look(QNetworkReply *reply, qint64 length);
    void end(const QNetworkReply *reply);

    qint64 m_limit = 0;
    Body m_body = Body::Pending;
    bool m_isEndKnown = false;
    QPointer<QNetworkReply> m_reply; // what comes from earlier ones does not count
};
