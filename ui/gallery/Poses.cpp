// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "Poses.h"

#include "Looks.h"
#include "engine/DownloadThread.h"
#include "ui/UpdateError.h"
#include "ui/UpdateNotice.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHelpEvent>
#include <QHostAddress>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QTcpServer>
#include <QTemporaryDir>

namespace {

/// Lets the dialog become the active window, so that its default button shows as such.
void Settle(QDialog &dialog)
{
    dialog.show();
    dialog.activateWindow();
    QElapsedTimer clock;
    clock.start();
    while (!dialog.isActiveWindow() && clock.elapsed() < 1000) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    }
}

/// Presses the Tab key until \a button has the focus, at most once around.
void TabTo(QDialog &dialog, const QPushButton &button)
{
    for (int i = 0; i < 3; ++i) {
        QKeyEvent tab(QEvent::KeyPress, Qt::Key_Tab, Qt::NoModifier);
        QApplication::sendEvent(dialog.focusWidget(), &tab);
        if (button.hasFocus()) {
            return;
        }
    }
}

QPixmap Picture(QDialog &dialog, Gesture gesture, const char *name)
{
    Settle(dialog);
    auto *button = dialog.findChild<QPushButton *>(QLatin1String(name));
    if (button && gesture == Gesture::Focus) {
        TabTo(dialog, *button);
    } else if (button && gesture != Gesture::None) {
        button->setAttribute(Qt::WA_UnderMouse);
        button->setDown(gesture == Gesture::Press);
    }
    return dialog.grab();
}

/// An empty picture in device pixels, on which painters work in the dialogs' own.
QPixmap Sheet(QSize size, const QColor &paper)
{
    QPixmap sheet(size * qApp->devicePixelRatio());
    sheet.setDevicePixelRatio(qApp->devicePixelRatio());
    sheet.fill(paper);
    return sheet;
}

} // namespace

QPixmap Notice(bool mandatory, const QString &version, Gesture gesture, const char *button)
{
    CUpdateNotice dialog(mandatory);
    dialog.setUpdateVersion(version);
    return Picture(dialog, gesture, button);
}

QPixmap Error(const char *title, const char *message, bool retry, const char *url, Gesture gesture,
              const char *button)
{
    CUpdateError dialog;
    dialog.setUrl(QLatin1String(url));
    dialog.setError(QString::fromUtf8(title), QString::fromUtf8(message), retry);
    return Picture(dialog, gesture, button);
}

QPixmap ErrorWithToolTip(const char *title, const char *message)
{
    CUpdateError dialog;
    dialog.setError(QString::fromUtf8(title), QString::fromUtf8(message), true);
    const QPixmap face = Picture(dialog, Gesture::None, "");
    auto *label = dialog.findChild<QLabel *>(QStringLiteral("error"));
    QHelpEvent help(QEvent::ToolTip, QPoint(60, 7), label->mapToGlobal(QPoint(60, 7)));
    QApplication::sendEvent(label, &help);
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (window->windowType() == Qt::ToolTip && window->isVisible()) {
            // Where it stands on a screen that has room for it, as this one may not.
            const QPoint corner = label->geometry().bottomLeft() + QPoint(0, 2);
            QPixmap picture =
                Sheet(QSize(dialog.width(), qMax(dialog.height(), corner.y() + window->height())),
                      DesktopColor());
            QPainter painter(&picture);
            painter.drawPixmap(0, 0, face);
            painter.drawPixmap(corner, window->grab());
            window->close();
            return picture;
        }
    }
    return face;
}

QPixmap Progress(const std::function<void(CUpdateProgress &)> &set, Gesture gesture)
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    const QTemporaryDir folder;
    CDownloadThread worker(QStringLiteral("http://127.0.0.1:%1/").arg(server.serverPort()),
                           QDir(folder.path()), QDir(folder.path()),
                           {{QStringLiteral("a"), 1, 0, QByteArray(32, '0')}});
    CUpdateProgress dialog(worker);
    set(dialog);
    const QPixmap shown = Picture(dialog, gesture, "cancel");
    worker.quit();
    worker.wait();
    return shown;
}

QPixmap Icons(const QColor &paper)
{
    QPixmap sheet = Sheet(QSize(556, 341), paper);
    QPainter painter(&sheet);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const QIcon icon(QStringLiteral(":/icon"));
    int left = 10;
    for (const int side : {256, 128, 64, 32, 16}) {
        icon.paint(&painter, left, 300 - side, side, side);
        left += side + 10;
    }
    return sheet;
}
