// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QNetworkAccessManager>
#include <QString>

/// A network access manager that gives up an answer that is too long, and knows of one that broke
/// off: the fetch over it takes every body of status 200 for whole. For one request. A body whose
/// length was not told counts as whole wherever its connection ends.
class WatchedManager : public QNetworkAccessManager {
public:
    /// \a limit  in bytes, of the body.
    explicit WatchedManager(qint64 limit);

    /// Returns what was wrong with the body, or empty text. One that is still under way when it is
    /// asked for, because the fetch's time ran out, is not whole.
    QString problem() const;

protected:
    QNetworkReply *createRequest(Operation operation, const QNetworkRequest &request,
                                 QIODevice *outgoingData) override;

private:
    const qint64 m_limit;
    bool m_finished = false;
    QString m_problem;
};
