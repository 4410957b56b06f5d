// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"

#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <limits>

namespace {

/// The time-out in milliseconds, limited to what a timer can hold: nearly 25 days.
std::chrono::milliseconds TimerInterval(qint32 timeoutSec)
{
    constexpr std::chrono::milliseconds limit{std::numeric_limits<int>::max()};
    return std::min<std::chrono::milliseconds>(std::chrono::seconds(timeoutSec), limit);
}

void WaitForReply(QNetworkReply &reply, qint32 timeoutSec)
{
    QEventLoop loop;
    QObject::connect(&reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (timeoutSec > 0) {
        QTimer::singleShot(TimerInterval(timeoutSec), &loop, &QEventLoop::quit);
    }
    loop.exec();
}

QString FailureText(const QNetworkReply &reply, int status)
{
    if (reply.isFinished()) {
        // Only the suffix takes the argument: the error text holds the URL and may contain "%1".
        return reply.errorString() + QStringLiteral(",status=%1").arg(status);
    }
    return QObject::tr("网络超时,status=%1").arg(status);
}

} // namespace

bool GetFileByUrl(QNetworkAccessManager &manager, QUrl url, QByteArray &data, QString &error,
                  qint32 timeout, QMap<QByteArray, QByteArray> headers, QByteArray verb,
                  QByteArray body, QMap<QByteArray, QByteArray> *responseHeaders)
{
    QNetworkRequest request(url);
    // Qt 6 would follow redirects.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    const QList<QByteArray> names = headers.keys();
    for (const QByteArray &name : names) {
        request.setRawHeader(name, headers.value(name));
    }

    QNetworkReply *reply = manager.sendCustomRequest(request, verb, body);
    if (!reply) {
        error = QObject::tr("发送请求失败");
        return false;
    }
    WaitForReply(*reply, timeout);

    // An unfinished reply is not aborted: it ends unobserved when the event loop deletes it.
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status != 200) {
        error = FailureText(*reply, status);
        reply->deleteLater();
        return false;
    }

    if (responseHeaders) {
        const QList<QNetworkReply::RawHeaderPair> pairs = reply->rawHeaderPairs();
        for (const QNetworkReply::RawHeaderPair &pair : pairs) {
            (*responseHeaders)[pair.first] = pair.second;
        }
    }
    // A manager that aborts its replies has closed this one, and Qt 6 complains of reading from it.
    data = reply->isOpen() ? reply->readAll() : QByteArray();
    reply->deleteLater();
    return true;
}
