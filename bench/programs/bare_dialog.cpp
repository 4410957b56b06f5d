// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/QtDefaults.h"

#include <QApplication>
#include <QDialog>
#include <QEventLoop>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
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

/// The texts of the notice, unstyled.
void AddTexts(QDialog &dialog)
{
    auto *label = new QLabel(QStringLiteral("发现新版本：3.1.0"), &dialog);
    label->setGeometry(28, 250, 507, 40);
    auto *update = new QPushButton(QStringLiteral("立即更新"), &dialog);
    update->setGeometry(360, 310, 80, 24);
    auto *skip = new QPushButton(QStringLiteral("以后再说"), &dialog);
    skip->setGeometry(460, 310, 80, 24);
}

} // namespace

/// bare_dialog URL [texts]: shows nothing but the dialogs' background once URL was fetched, or that
/// and the notice's texts.
int main(int argc, char *argv[])
{
    EnableHighDpi();
    const QApplication app(argc, argv);
    QNetworkAccessManager manager;
    QNetworkReply *reply = manager.get(QNetworkRequest(QUrl(QString::fromLocal8Bit(argv[1]))));
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    reply->deleteLater();
    BareDialog dialog;
    if (argc > 2) {
        AddTexts(dialog);
    }
    return dialog.exec();
}
