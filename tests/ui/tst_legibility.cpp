// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "DesktopColors.h"
#include "EveryDialog.h"
#include "FormTable.h"
#include "ui/DialogStyle.h"

#include <QApplication>
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QProxyStyle>
#include <QPushButton>
#include <QStyleOption>
#include <QtTest>

#include <cmath>

Q_DECLARE_METATYPE(QStyle::State)

namespace {

/// Relative luminance as defined for contrast ratios on screens (sRGB).
double Luminance(QRgb pixel)
{
    const auto linear = [](int channel) {
        const double c = channel / 255.0;
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(pixel)) + 0.7152 * linear(qGreen(pixel)) +
           0.0722 * linear(qBlue(pixel));
}

/// The contrast of black with the darkest pixel of \a image.
double ContrastWithBlack(const QImage &image)
{
    double darkest = 1;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            darkest = qMin(darkest, Luminance(image.pixel(x, y)));
        }
    }
    return (darkest + 0.05) / 0.05;
}

/// A native style that draws dark buttons, as one does that follows the desktop and no palette.
class DarkNativeStyle : public QProxyStyle {
public:
    void drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                     const QWidget *widget) const override
    {
        QProxyStyle::drawControl(element, option, painter, widget);
        if (element == CE_PushButtonBevel) {
            painter->fillRect(option->rect, QColor(0x30, 0x30, 0x30));
        }
    }
};

/// The contrast behind the text of the notice's button.
double ButtonContrast()
{
    EveryDialog every;
    const auto dialog = every.make(QStringLiteral("notice"));
    auto *button = dialog->findChild<QPushButton *>(QStringLiteral("update"));
    button->setText(QString());
    return ContrastWithBlack(button->grab(button->rect().adjusted(4, 4, -4, -4)).toImage());
}

} // namespace

class tst_Legibility : public QObject {
    Q_OBJECT

private slots:
    static void contrast_behindEveryText_isAtLeast7_data();
    static void contrast_behindEveryText_isAtLeast7();
    static void contrast_ofAButton_isAtLeast7InEveryState_data();
    static void contrast_ofAButton_isAtLeast7InEveryState();
    static void contrast_nativeStyleIsDark_isAtLeast7();
    static void text_painted_isBlack_data();
    static void text_painted_isBlack();
    static void image_everywhere_isOpaque();
};

void tst_Legibility::contrast_behindEveryText_isAtLeast7_data()
{
    DesktopColors::addRows();
}

void tst_Legibility::contrast_behindEveryText_isAtLeast7()
{
    QFETCH(QString, name);
    QFETCH(QPalette, palette);
    const DesktopColors desktop(palette);
    EveryDialog every;
    const auto dialog = every.make(name);
    const auto children = ChildWidgets(*dialog);
    for (QWidget *child : children) {
        child->setProperty("text", QString()); // what is left is what lies behind the text
    }
    const QImage face = dialog->grab().toImage();
    for (const QWidget *child : children) {
        QRect text = child->geometry();
        if (qobject_cast<const QPushButton *>(child)) {
            text.adjust(4, 4, -4, -4); // inside the button's edge
        } else if (!qobject_cast<const QLabel *>(child)) {
            continue;
        }
        const double contrast = ContrastWithBlack(face.copy(text));
        QVERIFY2(contrast >= 7, qPrintable(QStringLiteral("%1: %2").arg(
                                    child->objectName(), QString::number(contrast))));
    }
}

void tst_Legibility::contrast_ofAButton_isAtLeast7InEveryState_data()
{
    QTest::addColumn<bool>("isDefault");
    QTest::addColumn<QStyle::State>("state");
    for (const bool isDefault : {true, false}) {
        const char *kind = isDefault ? "default" : "other";
        QTest::addRow("%s", kind) << isDefault << QStyle::State();
        QTest::addRow("%s, hovered", kind) << isDefault << QStyle::State(QStyle::State_MouseOver);
        QTest::addRow("%s, pressed", kind) << isDefault << QStyle::State(QStyle::State_Sunken);
    }
}

void tst_Legibility::contrast_ofAButton_isAtLeast7InEveryState()
{
    QFETCH(bool, isDefault);
    QFETCH(QStyle::State, state);
    QStyleOptionButton option;
    option.rect = QRect(0, 0, 80, 24);
    option.state = state;
    option.features.setFlag(QStyleOptionButton::DefaultButton, isDefault);
    QImage image(option.rect.size(), QImage::Format_RGB32);
    image.fill(Qt::black);
    QPainter painter(&image);
    CDialogStyle().drawControl(QStyle::CE_PushButtonBevel, &option, &painter);
    painter.end();
    QVERIFY(ContrastWithBlack(image.copy(4, 4, 72, 16)) >= 7);
}

void tst_Legibility::contrast_nativeStyleIsDark_isAtLeast7()
{
    const QString before = QApplication::style()->objectName();
    QApplication::setStyle(new DarkNativeStyle);
    QPushButton native;
    native.resize(80, 24);
    const double ofTheNativeButton = ContrastWithBlack(native.grab().toImage());
    const double onLightDesktop = ButtonContrast();
    const DesktopColors desktop(DesktopColors::dark());
    const double onDarkDesktop = ButtonContrast();
    QApplication::setStyle(before);
    QVERIFY(ofTheNativeButton < 7); // the native style is as dark as meant
    QVERIFY(onLightDesktop >= 7);
    QVERIFY(onDarkDesktop >= 7);
}

void tst_Legibility::text_painted_isBlack_data()
{
    DesktopColors::addRows();
}

void tst_Legibility::text_painted_isBlack()
{
    QFETCH(QString, name);
    QFETCH(QPalette, palette);
    const DesktopColors desktop(palette);
    EveryDialog every;
    const auto dialog = every.make(name);
    const auto children = ChildWidgets(*dialog);
    for (QWidget *child : children) {
        if (!child->property("text").isValid() || child->inherits("QProgressBar")) {
            continue;
        }
        child->setProperty("text", QString(30, QLatin1Char('E'))); // has stems of a whole pixel
        const QImage image = child->grab().toImage();
        int darkest = 255;
        for (int y = 4; y < image.height() - 4; ++y) {
            for (int x = 4; x < image.width() - 4; ++x) {
                darkest = qMin(darkest, qGray(image.pixel(x, y)));
            }
        }
        QVERIFY2(darkest < 16, qPrintable(child->objectName() + QString::number(darkest)));
    }
}

void tst_Legibility::image_everywhere_isOpaque()
{
    // A clear corner would show the window's own colour, not what lies behind the window.
    const QImage image(QStringLiteral(":/update_bg"));
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            QVERIFY2(qAlpha(image.pixel(x, y)) == 255,
                     qPrintable(QStringLiteral("update_bg is not opaque at %1, %2")
                                    .arg(QString::number(x), QString::number(y))));
        }
    }
}

QTEST_MAIN(tst_Legibility)
#include "tst_legibility.moc"
