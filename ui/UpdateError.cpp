// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/UpdateError.h"

#include "ui/DialogFrame.h"

#include <QDesktopServices>
#include <QUrl>

CUpdateError::CUpdateError(QWidget *parent) : QDialog(parent)
{
    m_ui.setupUi(this);
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);
    UseDialogLook(*this);
    m_ui.download->hide();
    connect(m_ui.retry, &QPushButton::clicked, this, &CUpdateError::accept);
    connect(m_ui.download, &QPushButton::clicked, this, &CUpdateError::openDownloadUrl);
}

void CUpdateError::setError(QString title, QString message, bool retry)
{
    m_ui.label->setText(title);
    m_ui.error->setText(message);
    m_ui.retry->setVisible(retry);
    m_ui.download->setVisible(retry && !m_downloadUrl.isEmpty());
}

void CUpdateError::setUrl(QString url)
{
    m_downloadUrl = url;
    // The retry choice does not matter here, on purpose: an address set after a final error offers
    // the download page next to a hidden retry button.
    m_ui.download->setVisible(!m_downloadUrl.isEmpty());
}

void CUpdateError::openDownloadUrl()
{
    (void)QDesktopServices::openUrl(QUrl(m_downloadUrl)); // without a browser nothing happens
}

void CUpdateError::paintEvent(QPaintEvent *)
{
    PaintDialogFace(*this);
}
