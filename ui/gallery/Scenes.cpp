// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "Scenes.h"

#include "engine/DownloadThread.h"
#include "ui/UpdateError.h"
#include "ui/UpdateNotice.h"
#include "ui/UpdateProgress.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHelpEvent>
#include <QHostAddress>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QTcpServer>
#include <QTemporaryDir>

namespace {

const char *const fetchFailed = "更新失败";
const char *const timeOut = "下载升级描述文件失败:Error transferring "
                            "https://update.example.com/public/kestrel/update/mac/update.json - "
                            "server replied: Service Temporarily Unavailable";
const char *const portal = "升级描述文件内容不合法:<!DOCTYPE html>\n<html>\n  <head>\n    "
                           "<title>Sign in &amp; surf</title>\n  </head>\n  <body>\n    "
                           "<h1>Welcome to the hotel network</h1>\n  </body>\n</html>\n";

/// Lets the dialog become the active window, so that its default button shows as such.
void settle(QDialog &dialog)
{
    dialog.show();
    dialog.activateWindow();
    QElapsedTimer clock;
    clock.start();
    while (!dialog.isActiveWindow() && clock.elapsed() < 1000) {
        QApplication::processEvents(QEventLoop::AllEvents, 20);
    }
}

QPixmap picture(QDialog &dialog)
{
    settle(dialog);
    return dialog.grab();
}

QPixmap notice(bool mandatory, const QString &version)
{
    CUpdateNotice dialog(mandatory);
    dialog.setUpdateVersion(version);
    return picture(dialog);
}

QPixmap noticeByKeyboard()
{
    CUpdateNotice dialog(false);
    dialog.setUpdateVersion(QStringLiteral("3.10.25"));
    settle(dialog);
    QKeyEvent tab(QEvent::KeyPress, Qt::Key_Tab, Qt::NoModifier);
    QApplication::sendEvent(dialog.focusWidget(), &tab);
    return dialog.grab();
}

QPixmap error(const char *title, const char *message, bool retry, const char *url = "")
{
    CUpdateError dialog;
    dialog.setUrl(QLatin1String(url));
    dialog.setError(QString::fromUtf8(title), QString::fromUtf8(message), retry);
    return picture(dialog);
}

/// The dialog with the tool tip that the mouse brings up over the cut message.
QPixmap errorWithToolTip()
{
    CUpdateError dialog;
    dialog.setError(QString::fromUtf8(fetchFailed), QString::fromUtf8(portal), true);
    QPixmap picture = (settle(dialog), dialog.grab());
    auto *label = dialog.findChild<QLabel *>(QStringLiteral("error"));
    QHelpEvent help(QEvent::ToolTip, QPoint(60, 7), label->mapToGlobal(QPoint(60, 7)));
    QApplication::sendEvent(label, &help);
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (window->windowType() == Qt::ToolTip && window->isVisible()) {
            const QPoint below = label->geometry().topLeft() + QPoint(62, 23);
            const int up = qMin(0, dialog.height() - below.y() - window->height());
            QPainter(&picture).drawPixmap(below + QPoint(0, up), window->grab());
            window->close();
        }
    }
    return picture;
}

/// The progress dialog with a worker that waits for a server that never answers.
QPixmap progress(const std::function<void(CUpdateProgress &)> &set)
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    const QTemporaryDir folder;
    CDownloadThread worker(QStringLiteral("http://127.0.0.1:%1/").arg(server.serverPort()),
                           QDir(folder.path()), QDir(folder.path()),
                           {{QStringLiteral("a"), 1, 0, QByteArray(32, '0')}});
    CUpdateProgress dialog(worker);
    set(dialog);
    const QPixmap shown = picture(dialog);
    worker.quit();
    worker.wait();
    return shown;
}

void startFile(CUpdateProgress &dialog)
{
    dialog.downloadStarted(QFileInfo(QString::fromUtf8("Contents/Resources/帮助文档.html")), 2, 5);
    dialog.downloadProgress(734003, 1048576);
}

void failFile(CUpdateProgress &dialog)
{
    startFile(dialog);
    dialog.downloadFail(QFileInfo(), QString::fromUtf8("下载文件失败:Connection refused"));
}

/// The icon at the sizes in which desktops show it.
QPixmap icons()
{
    QPixmap sheet(QSize(556, 341) * qApp->devicePixelRatio());
    sheet.setDevicePixelRatio(qApp->devicePixelRatio());
    sheet.fill(QApplication::palette().color(QPalette::Window));
    QPainter painter(&sheet);
    const QIcon icon(QStringLiteral(":/icon"));
    int left = 10;
    for (const int side : {256, 128, 64, 32, 16}) {
        icon.paint(&painter, left, 300 - side, side, side);
        left += side + 10;
    }
    return sheet;
}

} // namespace

const QList<Scene> &AllScenes()
{
    static const QList<Scene> scenes{
        {"notice", "A newer version", [] { return notice(false, QStringLiteral("3.10.25")); }},
        {"notice-keyboard", "After the Tab key", noticeByKeyboard},
        {"notice-forced", "No putting off", [] { return notice(true, QStringLiteral("3.10.25")); }},
        {"notice-long", "A long version",
         [] { return notice(false, QStringLiteral("2025.11.21-beta.4+build.20251121.3f9c1e7a")); }},
        {"error", "Try again",
         [] { return error(fetchFailed, "下载升级描述文件失败:网络超时", true); }},
        {"error-url", "Try again, or download by hand",
         [] { return error(fetchFailed, "网络错误：10012", true, "http://127.0.0.1/"); }},
        {"error-final", "No choice but Escape",
         [] { return error("启动", "升级程序已运行", false); }},
        {"error-long", "A message too long", [] { return error(fetchFailed, timeOut, true); }},
        {"error-page", "A web page as message", [] { return error(fetchFailed, portal, true); }},
        {"error-tooltip", "Its tool tip", errorWithToolTip},
        {"progress-start", "Download begins", [] { return progress([](CUpdateProgress &) {}); }},
        {"progress", "File 3 of 5", [] { return progress(startFile); }},
        {"progress-failed", "Download failed", [] { return progress(failFile); }},
        {"icon", "The icon", icons},
    };
    return scenes;
}
