// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QList>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include <functional>

namespace {

/// The usual MD5 texts and the names of the files, as md5sum lists them.
QList<QPair<QByteArray, QString>> ReadList(const QString &path)
{
    QList<QPair<QByteArray, QString>> list;
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = file.readAll().split('\n');
        for (const QByteArray &line : lines) {
            if (line.size() > 34) {
                list.append({line.left(32), QString::fromUtf8(line.mid(34))});
            }
        }
    }
    return list;
}

} // namespace

/// bare_fetch BASE_URL LIST FOLDER: fetches, hashes and writes one file after the other, with
/// nothing around it.
int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString base = arguments.value(1);
    const auto files = ReadList(arguments.value(2));
    const QDir folder(arguments.value(3));

    QNetworkAccessManager manager;
    int current = 0;
    const std::function<void()> fetch = [&] {
        if (current == files.size()) {
            QCoreApplication::exit(0);
            return;
        }
        QNetworkReply *reply = manager.get(QNetworkRequest(QUrl(base + files.at(current).second)));
        QObject::connect(reply, &QNetworkReply::finished, &app, [&, reply] {
            const QByteArray body = reply->readAll();
            QFile file(folder.absoluteFilePath(files.at(current).second));
            const QByteArray md5 = QCryptographicHash::hash(body, QCryptographicHash::Md5).toHex();
            if (md5 != files.at(current).first || !file.open(QIODevice::WriteOnly) ||
                file.write(body) != body.size()) {
                QCoreApplication::exit(1);
                return;
            }
            file.close();
            ++current;
            fetch();
            reply->deleteLater();
        });
    };
    fetch();
    return QCoreApplication::exec();
}
