// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "Looks.h"

#include <QApplication>
#include <QColor>
#include <QFont>
#include <QPalette>
#include <QToolTip>

#include <algorithm>

const QList<Look> &AllLooks()
{
    static const QList<Look> looks{
        {"1x", "Pixel ratio 1", "1", false, 10}, {"1.5x", "Pixel ratio 1.5", "1.5", false, 10},
        {"2x", "Pixel ratio 2", "2", false, 10}, {"3x", "Pixel ratio 3", "3", false, 10},
        {"dark", "Dark desktop", "1", true, 10}, {"large", "Large system font", "1", false, 13},
    };
    return looks;
}

const Look &FindLook(const QString &name)
{
    const QList<Look> &looks = AllLooks();
    const auto found = std::find_if(looks.begin(), looks.end(), [&name](const Look &look) {
        return name == QLatin1String(look.name);
    });
    return found == looks.end() ? looks.first() : *found;
}

void WearLook(const Look &look)
{
    QFont font = QApplication::font();
    font.setPointSize(look.fontSize);
    QApplication::setFont(font);
    if (look.dark) {
        QPalette palette(QColor(0x35, 0x35, 0x39), QColor(0x24, 0x24, 0x27));
        palette.setColor(QPalette::ToolTipBase, QColor(0x1c, 0x1c, 0x1f));
        palette.setColor(QPalette::ToolTipText, Qt::white);
        QApplication::setPalette(palette);
        QToolTip::setPalette(palette);
    }
}

QColor DesktopColor()
{
    return {0xc9, 0xcd, 0xd1};
}
