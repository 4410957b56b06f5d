// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "EveryDialog.h"
#include "ui/DialogStyle.h"

#include <QImage>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QStyleOption>
#include <QtTest>

#include <functional>

namespace {

const QColor accent(0x2f, 0x8f, 0x9d);
const QColor track(0xd5, 0xe4, 0xe7);
const QColor defaultFill(0xcf, 0xe9, 0xea);
const QColor otherEdge(0xb4, 0xc6, 0xcb);

/// A button of 80 x 24 on red paper, without text.
QImage Bevel(bool isDefault, QStyle::State state)
{
    QStyleOptionButton option;
    option.rect = QRect(0, 0, 80, 24);
    option.state = state;
    option.features.setFlag(QStyleOptionButton::DefaultButton, isDefault);
    QImage image(option.rect.size(), QImage::Format_RGB32);
    image.fill(Qt::red);
    QPainter painter(&image);
    const CDialogStyle style;
    style.drawControl(QStyle::CE_PushButtonBevel, &option, &painter);
    if (state.testFlag(QStyle::State_HasFocus)) { // as a button asks for it
        QStyleOptionFocusRect focus;
        focus.rect = option.rect.adjusted(3, 3, -3, -3);
        focus.state = state;
        focus.backgroundColor = Qt::white;
        style.drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter);
    }
    return image;
}

/// A bar of 100 x 5 on white paper.
QImage BarImage(int value, const std::function<void(QProgressBar &)> &prepare = {})
{
    CDialogStyle style;
    QProgressBar bar;
    bar.setTextVisible(false);
    bar.resize(100, 5);
    bar.setStyle(&style);
    if (prepare) {
        prepare(bar);
    }
    bar.setValue(value);
    QImage image(bar.size(), QImage::Format_RGB32);
    image.fill(Qt::white);
    bar.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

/// The first and the last column that are filled in the bar's middle row; -1 where none is. The
/// outermost column of a round end is not covered whole.
QPair<int, int> Filled(const QImage &bar)
{
    QPair<int, int> range(-1, -1);
    for (int x = 0; x < bar.width(); ++x) {
        if (qAbs(bar.pixelColor(x, 2).red() - accent.red()) < 40) {
            range.first = range.first < 0 ? x : range.first;
            range.second = x;
        }
    }
    return range;
}

} // namespace

Q_DECLARE_METATYPE(QStyle::State)

/// How the style paints what it paints itself.
class tst_DialogStyle : public QObject {
    Q_OBJECT

private slots:
    static void button_painted_isFlatWithRoundCorners_data();
    static void button_painted_isFlatWithRoundCorners();
    static void button_hoveredAndPressed_isAShadeDarker_data();
    static void button_hoveredAndPressed_isAShadeDarker();
    static void button_focusedByKeyboard_hasAWideEdgeAndNoFrame();
    static void button_focusedOtherwise_looksAsWithout();
    static void bar_value_isFilledFromTheLeft_data();
    static void bar_value_isFilledFromTheLeft();
    static void bar_mirrored_isFilledFromTheRight();
    static void bar_painted_hasRoundEndsAndNoTick();
    static void bar_withoutARange_isEmpty();
    static void dialogs_shown_useTheStyle_data() { EveryDialog::addRows(); }
    static void dialogs_shown_useTheStyle();
};

void tst_DialogStyle::button_painted_isFlatWithRoundCorners_data()
{
    QTest::addColumn<bool>("isDefault");
    QTest::addColumn<QColor>("fill");
    QTest::addColumn<QColor>("edge");
    QTest::newRow("default") << true << defaultFill << accent;
    QTest::newRow("other") << false << QColor(Qt::white) << otherEdge;
}

void tst_DialogStyle::button_painted_isFlatWithRoundCorners()
{
    QFETCH(bool, isDefault);
    QFETCH(QColor, fill);
    QFETCH(QColor, edge);
    const QImage image = Bevel(isDefault, QStyle::State_Enabled);
    for (int y = 1; y < 23; ++y) { // one colour from edge to edge
        QCOMPARE(image.pixelColor(40, y), fill);
    }
    for (int x = 1; x < 79; ++x) {
        QCOMPARE(image.pixelColor(x, 12), fill);
    }
    for (const QPoint &point : {QPoint(40, 0), QPoint(40, 23), QPoint(0, 12), QPoint(79, 12)}) {
        QCOMPARE(image.pixelColor(point), edge);
    }
    for (const QPoint &corner : {QPoint(0, 0), QPoint(79, 0), QPoint(0, 23), QPoint(79, 23)}) {
        QCOMPARE(image.pixelColor(corner), QColor(Qt::red));
    }
}

void tst_DialogStyle::button_hoveredAndPressed_isAShadeDarker_data()
{
    QTest::addColumn<bool>("isDefault");
    QTest::newRow("default") << true;
    QTest::newRow("other") << false;
}

void tst_DialogStyle::button_hoveredAndPressed_isAShadeDarker()
{
    QFETCH(bool, isDefault);
    const auto lightness = [isDefault](QStyle::State state) {
        return Bevel(isDefault, state).pixelColor(40, 12).lightness();
    };
    const int still = lightness(QStyle::State_Enabled);
    const int hovered = lightness(QStyle::State_Enabled | QStyle::State_MouseOver);
    const int pressed =
        lightness(QStyle::State_Enabled | QStyle::State_MouseOver | QStyle::State_Sunken);
    QVERIFY(hovered < still && still - hovered < 32);
    QVERIFY(pressed < hovered && hovered - pressed < 32);
}

void tst_DialogStyle::button_focusedByKeyboard_hasAWideEdgeAndNoFrame()
{
    const QImage image = Bevel(false, QStyle::State_Enabled | QStyle::State_HasFocus |
                                          QStyle::State_KeyboardFocusChange);
    for (const int y : {0, 1, 22, 23}) {
        QCOMPARE(image.pixelColor(40, y), accent);
    }
    for (int y = 2; y < 22; ++y) {
        QCOMPARE(image.pixelColor(40, y), QColor(Qt::white));
    }
    for (int x = 2; x < 78; ++x) {
        QCOMPARE(image.pixelColor(x, 12), QColor(Qt::white));
    }
}

void tst_DialogStyle::button_focusedOtherwise_looksAsWithout()
{
    QCOMPARE(Bevel(false, QStyle::State_Enabled | QStyle::State_HasFocus),
             Bevel(false, QStyle::State_Enabled));
}

void tst_DialogStyle::bar_value_isFilledFromTheLeft_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("last");
    QTest::newRow("not begun") << -1 << -1;
    QTest::newRow("nothing yet") << 0 << -1;
    QTest::newRow("begun") << 1 << 4; // as wide as high
    QTest::newRow("as wide as high") << 5 << 4;
    QTest::newRow("half") << 50 << 49;
    QTest::newRow("all") << 100 << 99;
}

void tst_DialogStyle::bar_value_isFilledFromTheLeft()
{
    QFETCH(int, value);
    QFETCH(int, last);
    const auto [first, end] = Filled(BarImage(value));
    QCOMPARE(first, last < 0 ? -1 : 0);
    QCOMPARE(end, last);
}

void tst_DialogStyle::bar_mirrored_isFilledFromTheRight()
{
    const QPair<int, int> right(75, 99);
    const auto mirrored = [](QProgressBar &bar) { bar.setLayoutDirection(Qt::RightToLeft); };
    const auto inverted = [](QProgressBar &bar) { bar.setInvertedAppearance(true); };
    QCOMPARE(Filled(BarImage(25, mirrored)), right);
    QCOMPARE(Filled(BarImage(25, inverted)), right);
}

void tst_DialogStyle::bar_painted_hasRoundEndsAndNoTick()
{
    const QImage image = BarImage(50);
    for (int x = 3; x < 47; ++x) {
        QCOMPARE(image.pixelColor(x, 0), accent);
        QCOMPARE(image.pixelColor(x, 4), accent);
    }
    for (int x = 50; x < 97; ++x) {
        for (int y = 0; y < 5; ++y) {
            QCOMPARE(image.pixelColor(x, y), track);
        }
    }
    QVERIFY(image.pixelColor(0, 0).lightness() > accent.lightness() + 60); // round ends
    QVERIFY(image.pixelColor(49, 0).lightness() > accent.lightness() + 40);
    QVERIFY(image.pixelColor(99, 0).lightness() > track.lightness() + 5);
}

void tst_DialogStyle::bar_withoutARange_isEmpty()
{
    const QImage image = BarImage(0, [](QProgressBar &bar) { bar.setRange(0, 0); });
    QCOMPARE(Filled(image).first, -1);
}

void tst_DialogStyle::dialogs_shown_useTheStyle()
{
    QFETCH(QString, name);
    EveryDialog every;
    const auto dialog = every.make(name);
    dialog->show();
    QVERIFY(QTest::qWaitForWindowActive(dialog.get()));
    const auto buttons = dialog->findChildren<QPushButton *>();
    for (QPushButton *button : buttons) {
        button->setText(QString());
        const QColor middle = button->grab().toImage().pixelColor(40, 12);
        QCOMPARE(middle, button->isDefault() || (button->autoDefault() && button->hasFocus())
                             ? defaultFill
                             : QColor(Qt::white));
        QVERIFY(button->testAttribute(Qt::WA_Hover)); // else no mouse would be seen over it
    }
    const auto bars = dialog->findChildren<QProgressBar *>();
    for (QProgressBar *bar : bars) {
        QCOMPARE(bar->grab().toImage().pixelColor(250, 2), track);
        bar->setValue(80);
        QCOMPARE(bar->grab().toImage().pixelColor(250, 2), accent);
    }
}

QTEST_MAIN(tst_DialogStyle)
#include "tst_dialogstyle.moc"
