// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/DialogStyle.h"

#include <QColor>
#include <QPainter>
#include <QPen>
#include <QRectF>
#include <QStyleOption>

namespace {

constexpr qreal CornerRadius = 5;
constexpr QColor Accent(0x2f, 0x8f, 0x9d);
constexpr QColor Track(0xd5, 0xe4, 0xe7);

struct ButtonColors {
    QColor fill;
    QColor hovered;
    QColor pressed;
    QColor edge;
};
constexpr ButtonColors DefaultButton{
    {0xcf, 0xe9, 0xea}, {0xbf, 0xe0, 0xe2}, {0xab, 0xd4, 0xd7}, Accent};
constexpr ButtonColors OtherButton{
    {0xff, 0xff, 0xff}, {0xee, 0xf5, 0xf6}, {0xdc, 0xe9, 0xec}, {0xb4, 0xc6, 0xcb}};

bool IsDefault(const QStyleOption &option)
{
    const auto *button = qstyleoption_cast<const QStyleOptionButton *>(&option);
    return button && button->features.testFlag(QStyleOptionButton::DefaultButton);
}

/// On the keyboard's way through the buttons; a focus that nobody moved is not shown.
bool ShowsFocus(const QStyleOption &option)
{
    return option.state.testFlag(QStyle::State_HasFocus) &&
           option.state.testFlag(QStyle::State_KeyboardFocusChange);
}

QColor FillOf(const QStyleOption &option, const ButtonColors &colors)
{
    if (option.state.testFlag(QStyle::State_Sunken)) {
        return colors.pressed;
    }
    return option.state.testFlag(QStyle::State_MouseOver) ? colors.hovered : colors.fill;
}

void PaintButton(const QStyleOption &option, QPainter &painter)
{
    const ButtonColors &colors = IsDefault(option) ? DefaultButton : OtherButton;
    const bool focused = ShowsFocus(option);
    const qreal edge = focused ? 2 : 1;
    const qreal inset = edge / 2;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(focused ? Accent : colors.edge, edge));
    painter.setBrush(FillOf(option, colors));
    painter.drawRoundedRect(QRectF(option.rect).adjusted(inset, inset, -inset, -inset),
                            CornerRadius - inset, CornerRadius - inset);
    painter.restore();
}

/// Where the bar is filled; empty until it has begun, and never narrower than high from then on.
QRectF FilledPart(const QStyleOptionProgressBar &bar)
{
    const QRectF whole(bar.rect);
    const qint64 range = qint64{bar.maximum} - bar.minimum;
    const qint64 done = qint64{bar.progress} - bar.minimum;
    if (range <= 0 || done <= 0) {
        return {};
    }
    const qreal share = qMin(1.0, static_cast<qreal>(done) / static_cast<qreal>(range));
    const qreal width = qMax(whole.height(), whole.width() * share);
    const bool fromRight = (bar.direction == Qt::RightToLeft) != bar.invertedAppearance;
    const qreal left = fromRight ? whole.right() - width : whole.left();
    return {left, whole.top(), width, whole.height()};
}

void PaintBar(const QStyleOptionProgressBar &bar, QPainter &painter)
{
    const qreal radius = bar.rect.height() / 2.0;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Track);
    painter.drawRoundedRect(QRectF(bar.rect), radius, radius);
    painter.setBrush(Accent);
    painter.drawRoundedRect(FilledPart(bar), radius, radius);
    painter.restore();
}

} // namespace

CDialogStyle::CDialogStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

void CDialogStyle::drawControl(ControlElement element, const QStyleOption *option,
                               QPainter *painter, const QWidget *widget) const
{
    if (element == CE_PushButtonBevel) {
        PaintButton(*option, *painter);
        return;
    }
    const auto *bar = qstyleoption_cast<const QStyleOptionProgressBar *>(option);
    if (element == CE_ProgressBar && bar) {
        PaintBar(*bar, *painter);
        return;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

void CDialogStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option,
                                 QPainter *painter, const QWidget *widget) const
{
    if (element != PE_FrameFocusRect) { // a button's own edge shows the focus
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}
