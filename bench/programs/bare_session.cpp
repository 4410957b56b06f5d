// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include <QApplication>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

/// bare_session URL: the least that a program with widgets and one fetch needs.
int main(int argc, char *argv[])
{
    const QApplication app(argc, argv);
    QNetworkAccessManager manager;
    QNetworkReply *reply = manager.get(QNetworkRequest(QUrl(QString::fromLocal8Bit(argv[1]))));
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    const bool fetched = !reply->readAll().isEmpty();
    reply->deleteLater();
    return fetched ? 0 : 1;
}
