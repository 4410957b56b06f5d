// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "DesktopColors.h"

#include "EveryDialog.h"

#include <QApplication>
#include <QTest>

DesktopColors::DesktopColors(const QPalette &palette) : m_before(QApplication::palette())
{
    QApplication::setPalette(palette);
}

DesktopColors::~DesktopColors()
{
    QApplication::setPalette(m_before);
}

QPalette DesktopColors::dark()
{
    return {QColor(0x2b, 0x2b, 0x2e), QColor(0x1c, 0x1c, 0x1e)};
}

void DesktopColors::addRows()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QPalette>("palette");
    const QStringList names = EveryDialog::names();
    for (const QString &name : names) {
        QTest::newRow(qPrintable(name + ", light desktop")) << name << QPalette();
        QTest::newRow(qPrintable(name + ", dark desktop")) << name << dark();
    }
}
