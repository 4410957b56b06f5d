// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QNetworkAccessManager>
#include <QPointer>

/// A network access manager that aborts bodies that are too long and notices those that were cut
/// off: the fetch itself accepts every body of status 200 as complete. It follows no redirects. For
/// one request at a time, on the thread that created it.
class BoundedManager : public QNetworkAccessManager {
public:
    enum class Body { Pending, Whole, TooLong, BrokenOff };

    BoundedManager();

    /// The limit of the next body, in bytes.
    void setLimit(qint64 limit) { m_limit = limit; }

    /// How the last request's body arrived; Pending while it is under way.
    Body body() const { return m_body; }

    /// Whether a break in the last body would have been noticed: the server gave its length, or the
    /// protocol marks its end. Chunks do not count: a missing last one goes unnoticed.
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
    QPointer<QNetworkReply> m_reply; // signals of earlier ones are ignored
};
