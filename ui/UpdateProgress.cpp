// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/UpdateProgress.h"

#include "engine/DownloadThread.h"
#include "ui/DialogFrame.h"

CUpdateProgress::CUpdateProgress(CDownloadThread &thread, QWidget *parent) : QDialog(parent)
{
    m_ui.setupUi(this);
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);
    UseDialogLook(*this);
    connect(m_ui.cancel, &QPushButton::clicked, &thread, &QThread::quit);
    connect(&thread, &CDownloadThread::downloadStarted, this, &CUpdateProgress::downloadStarted);
    connect(&thread, &CDownloadThread::downloadProgress, this, &CUpdateProgress::downloadProgress);
    connect(&thread, &CDownloadThread::downloadFail, this, &CUpdateProgress::downloadFail);
    connect(&thread, &QThread::finished, this, &QDialog::accept);
    thread.start(QThread::InheritPriority);
}

// NOLINTBEGIN(readability-make-member-function-const): they change what the user sees

void CUpdateProgress::downloadStarted(QFileInfo filename, int current, int total)
{
    m_ui.total->setValue(current * 100 / total);
    m_ui.desc->setText(tr("正在下载更新文件%1").arg(filename.fileName()));
    m_ui.progress->setValue(0);
}

void CUpdateProgress::downloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (bytesTotal == 0) { // the network says so of a refused connection and of an empty body
        return;
    }
    m_ui.progress->setValue(static_cast<int>(bytesReceived * 100 / bytesTotal));
}

void CUpdateProgress::downloadFail(QFileInfo, QString errormsg)
{
    m_ui.desc->setText(errormsg);
}

// NOLINTEND(readability-make-member-function-const)

void CUpdateProgress::paintEvent(QPaintEvent *)
{
    PaintDialogFace(*this);
}
