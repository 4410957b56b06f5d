// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include <QApplication>
#include <QDialog>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPainter>
#include <QPixmap>
#include <QUrl>

namespace {

class BareDialog : public QDialog {
public:
    BareDialog()
    {
        setFixedSize(556, 341);
        setWindowFlags(windowFlags() | Qt::FramelessWindowHint);
    }

protected:
    void paintEvent(QPaintEvent * /*event*/) override
    {
        QPainter(this).drawPixmap(0, 0, QPixmap(QStringLiteral(":/update_bg")));
    }
};

} // namespace

/// bare_dialog URL: shows nothing but the dialogs' background once URL was fetched.
int main(int argc, char *argv[])
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps, true);
    const QApplication app(argc, argv);
    QNetworkAccessManager manager;
    QNetworkReply *reply = manager.get(QNetworkRequest(QUrl(QString::fromLocal8Bit(argv[1]))));
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    reply->deleteLater();
    BareDialog dialog;
    return dialog.exec();
}
