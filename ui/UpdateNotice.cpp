// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/UpdateNotice.h"

#include "ui/DialogFrame.h"

CUpdateNotice::CUpdateNotice(bool mandatory, QWidget *parent) : QDialog(parent)
{
    m_ui.setupUi(this);
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);
    UseDialogLook(*this);
    if (mandatory) {
        m_ui.skip->hide();
    }
    connect(m_ui.update, &QPushButton::clicked, this, &CUpdateNotice::accept);
    connect(m_ui.skip, &QPushButton::clicked, this, &CUpdateNotice::reject);
}

// NOLINTNEXTLINE(readability-make-member-function-const): it changes what the user sees
void CUpdateNotice::setUpdateVersion(QString version)
{
    m_ui.version->setText(tr("发现新版本：%1").arg(version, 0, QLatin1Char(' ')));
}

void CUpdateNotice::paintEvent(QPaintEvent *)
{
    PaintDialogFace(*this);
}
