// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "MainWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDebug>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QStatusBar>

MainWindow::MainWindow()
{
    setWindowTitle(QStringLiteral("Kestrel " KESTREL_VERSION));
    resize(880, 560);
    setCentralWidget(new QPlainTextEdit(QStringLiteral("Kestrels seen today:\n\n"
                                                       "  07:40  one, above the mill\n"
                                                       "  09:15  two, on the church tower\n")));
    QMenu *file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("&Quit"), this, &QWidget::close, QKeySequence(QKeySequence::Quit));
    QMenu *help = menuBar()->addMenu(tr("&Help"));
    m_checkAction = help->addAction(tr("Check for &Updates"));
    m_checkAction->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_U));
    connect(m_checkAction, &QAction::triggered, this, [this] { checkForUpdates(true); });
    connect(&m_check, &UpdateCheck::finished, this, &MainWindow::tell);
    connect(&m_inplace, &InplaceUpdate::fetched, this, &MainWindow::tellFetched);
    statusBar()->addPermanentWidget(new QLabel(windowTitle()));
    statusBar()->showMessage(tr("Not checked for updates yet"));
    QApplication::setQuitOnLastWindowClosed(false); // closeEvent() decides
}

void MainWindow::checkForUpdates(bool asked)
{
    m_asked = asked;
    m_checkAction->setEnabled(false);
    statusBar()->showMessage(tr("Checking for updates..."));
    if (m_inplace.isThere()) {
        m_inplace.fetch();
    } else {
        m_check.start();
    }
}

void MainWindow::comeToFront()
{
    showNormal();
    raise();
    activateWindow();
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    event->accept();
    leave();
}

void MainWindow::leave()
{
    m_leaving = true;
    if (m_inplace.isRunning()) {
        m_inplace.stop(); // tellFetched() goes on
    } else if (!m_check.isRunning()) {
        if (m_ready) {
            m_inplace.apply();
        }
        QCoreApplication::quit();
    }
}

void MainWindow::tell(const UpdateReport &report)
{
    qInfo().noquote() << "Kestrel: the updater says" << (report.success ? "yes" : "no")
                      << "to success and" << (report.update ? "yes" : "no")
                      << "to update:" << report.message;
    m_checkAction->setEnabled(true);
    if (report.update || m_leaving) {
        QCoreApplication::quit(); // the user installs the new version now
        return;
    }
    tellText(report.success ? tr("Kestrel is up to date, or the new version was put off.")
                            : tr("The check for updates failed."),
             report.message);
}

void MainWindow::tellFetched(const QString &ready, const QString &message)
{
    qInfo().noquote() << "Kestrel: fetched" << (ready.isEmpty() ? message : ready);
    m_checkAction->setEnabled(true);
    m_ready = m_ready || !ready.isEmpty();
    if (m_leaving) {
        leave();
        return;
    }
    tellText(ready.isEmpty() ? tr("There is nothing to install.")
                             : tr("Version %1 will be installed when you quit.").arg(ready),
             message);
}

void MainWindow::tellText(const QString &text, const QString &details)
{
    statusBar()->showMessage(text);
    if (m_asked) {
        QMessageBox::information(this, tr("Updates"), text + QStringLiteral("\n\n") + details);
    }
}
