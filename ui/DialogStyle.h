// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QProxyStyle>

/// Paints the push buttons and the horizontal progress bars of the dialogs: flat, with round
/// corners, and in the same light colours on every desktop, because their texts are black. What is
/// not painted here is left to the Fusion style, which every platform has.
///
/// Set it on the widgets themselves, not on the application. It changes no palette.
class CDialogStyle : public QProxyStyle {
public:
    CDialogStyle();

    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget = nullptr) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget = nullptr) const override;
};
