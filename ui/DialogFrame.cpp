// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/DialogFrame.h"

#include "ui/LabelLine.h"

#include <QApplication>
#include <QColor>
#include <QDialog>
#include <QLabel>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QPointF>
#include <QStyle>
#include <QStyleFactory>

namespace {

QPalette lightPalette()
{
    QPalette palette(QColor(0xf4, 0xf7, 0xf8), QColor(0xf7, 0xfa, 0xfb)); // buttons, window
    palette.setColor(QPalette::Highlight, QColor(0x2f, 0x8f, 0x9d));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

/// A style that follows the palette, as the native one need not; owned by \a dialog.
QStyle *ownStyle(QDialog &dialog)
{
    QStyle *style = QStyleFactory::create(QStringLiteral("Fusion"));
    if (style) {
        style->setParent(&dialog);
    }
    return style;
}

} // namespace

void UseDialogLook(QDialog &dialog)
{
    const QPalette palette = lightPalette();
    QStyle *style = isDark(QApplication::palette()) ? ownStyle(dialog) : nullptr;
    dialog.setPalette(palette);
    const auto children = dialog.findChildren<QWidget *>();
    for (QWidget *child : children) {
        if (style) {
            child->setStyle(style);
        }
        child->setPalette(palette); // a widget with a style sheet does not inherit it
    }
    const auto labels = dialog.findChildren<QLabel *>();
    for (QLabel *label : labels) {
        new CLabelLine(*label); // owned by its label
    }
}

void PaintDialogFace(QWidget &dialog)
{
    QPainter painter(&dialog);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPixmap face(QStringLiteral(":/update_bg"));
    painter.drawPixmap(QPointF(0, 0), face);
}
