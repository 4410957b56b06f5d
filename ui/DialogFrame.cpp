// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/DialogFrame.h"

#include <QPainter>
#include <QPixmap>
#include <QPointF>
#include <QWidget>

void PaintDialogFace(QWidget &dialog)
{
    QPainter painter(&dialog);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPixmap face(QStringLiteral(":/update_bg"));
    painter.drawPixmap(QPointF(0, 0), face);
}
