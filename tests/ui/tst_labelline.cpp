// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/LabelLine.h"

#include <QApplication>
#include <QHelpEvent>
#include <QImage>
#include <QLabel>
#include <QScreen>
#include <QToolTip>
#include <QtTest>

#include <ctime>

namespace {

constexpr QSize roomy(300, 40);

/// A label as the forms make them.
struct PlainLabel : QLabel {
    explicit PlainLabel(const QString &text, QSize size = roomy)
    {
        setTextFormat(Qt::PlainText);
        setText(text);
        resize(size);
    }
    QImage image() { return grab().toImage(); }
};

/// The same label under watch.
struct LineLabel : PlainLabel {
    explicit LineLabel(const QString &text, QSize size = roomy) : PlainLabel(text, size)
    {
        new CLabelLine(*this);
    }

    /// The tool tip that the mouse brings up; null when there is none.
    QString toolTipAtMouse()
    {
        QToolTip::hideText();
        QHelpEvent help(QEvent::ToolTip, QPoint(5, 5), QPoint(50, 50));
        QCoreApplication::sendEvent(this, &help);
        return QToolTip::isVisible() ? QToolTip::text() : QString();
    }
};

QFont FontOf(int pixelSize)
{
    QFont font;
    font.setPixelSize(pixelSize);
    return font;
}

/// The tool tip's window; null when none is shown.
QWidget *TipWindow()
{
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (window->isVisible() && window->windowType() == Qt::ToolTip) {
            return window;
        }
    }
    return nullptr;
}

} // namespace

class tst_LabelLine : public QObject {
    Q_OBJECT

private slots:
    static void paint_fittingText_isLeftToTheLabel_data();
    static void paint_fittingText_isLeftToTheLabel();
    static void paint_wideText_endsInAnEllipsis();
    static void paint_lines_areJoinedFromTheFirst_data();
    static void paint_lines_areJoinedFromTheFirst();
    static void paint_tallFont_isLeftToTheLabel_data();
    static void paint_tallFont_isLeftToTheLabel();
    static void paint_aligned_keepsItsAlignment_data();
    static void paint_aligned_keepsItsAlignment();
    static void paint_hugeText_takesAMoment_data();
    static void paint_hugeText_takesAMoment();
    static void text_cut_staysAsGiven();
    static void toolTip_cutText_holdsItAsLetters();
    static void toolTip_hugeText_holdsItsBeginning_data();
    static void toolTip_hugeText_holdsItsBeginning();
    static void toolTip_cutText_isWideAndBelowTheLabel_data();
    static void toolTip_cutText_isWideAndBelowTheLabel();
    static void toolTip_fittingText_isTheLabelsOwn();
    static void toolTip_setByTheCaller_isKept();
    static void toolTip_onDarkPaper_isNotBlackLikeTheLabel();
};

void tst_LabelLine::paint_fittingText_isLeftToTheLabel_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("word") << "fits";
    QTest::newRow("empty") << "";
    QTest::newRow("blanks around") << "  fits  ";
    QTest::newRow("markup") << "<b>fits</b>";
    QTest::newRow("ampersand") << "&fits && all";
}

void tst_LabelLine::paint_fittingText_isLeftToTheLabel()
{
    QFETCH(QString, text);
    QCOMPARE(LineLabel(text).image(), PlainLabel(text).image());
}

void tst_LabelLine::paint_wideText_endsInAnEllipsis()
{
    const QString wide = QStringLiteral("wide and wider, ").repeated(20);
    const QFontMetrics metrics = PlainLabel(wide).fontMetrics();
    const QString cut = metrics.elidedText(wide, Qt::ElideRight, roomy.width());
    QVERIFY(cut.endsWith(QChar(0x2026)));
    QCOMPARE(LineLabel(wide).image(), PlainLabel(cut).image());
    QVERIFY(LineLabel(wide).image() != PlainLabel(wide).image());
}

void tst_LabelLine::paint_lines_areJoinedFromTheFirst_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("LF") << "one\ntwo";
    QTest::newRow("CR LF") << "one\r\ntwo";
    QTest::newRow("blank lines") << "\n\none\n\n\ttwo\n";
    QTest::newRow("line separator") << QString::fromUtf8("one\u2028two");
    QTest::newRow("paragraph separator") << QString::fromUtf8("one\u2029two");
}

void tst_LabelLine::paint_lines_areJoinedFromTheFirst()
{
    QFETCH(QString, text);
    QCOMPARE(LineLabel(text).image(), PlainLabel(QStringLiteral("one two")).image());
}

void tst_LabelLine::paint_tallFont_isLeftToTheLabel_data()
{
    QTest::addColumn<int>("pixelSize");
    for (const int size : {13, 14, 17, 24, 60}) {
        QTest::addRow("%d pixels", size) << size;
    }
}

void tst_LabelLine::paint_tallFont_isLeftToTheLabel()
{
    QFETCH(int, pixelSize);
    const QString text = QString::fromUtf8("Ejgpqy 更新");
    LineLabel label(text, QSize(507, 14));
    PlainLabel plain(text, QSize(507, 14));
    label.setFont(FontOf(pixelSize));
    plain.setFont(FontOf(pixelSize));
    QVERIFY(label.fontMetrics().horizontalAdvance(text) <= label.width());
    QCOMPARE(label.image(), plain.image());
    QCOMPARE(label.toolTipAtMouse(), QString());
}

void tst_LabelLine::paint_aligned_keepsItsAlignment_data()
{
    QTest::addColumn<int>("alignment");
    QTest::newRow("left") << int{Qt::AlignLeft | Qt::AlignVCenter};
    QTest::newRow("right, top") << int{Qt::AlignRight | Qt::AlignTop};
    QTest::newRow("centre, bottom") << int{Qt::AlignHCenter | Qt::AlignBottom};
}

void tst_LabelLine::paint_aligned_keepsItsAlignment()
{
    QFETCH(int, alignment);
    LineLabel label(QStringLiteral("one\ntwo"));
    PlainLabel plain(QStringLiteral("one two"));
    label.setAlignment(Qt::Alignment(alignment));
    plain.setAlignment(Qt::Alignment(alignment));
    QCOMPARE(label.image(), plain.image());
}

void tst_LabelLine::paint_hugeText_takesAMoment_data()
{
    QTest::addColumn<QString>("text");
    const int size = 50 * 1024 * 1024;
    QTest::newRow("one word") << QString(size, QLatin1Char('a'));
    QTest::newRow("line breaks only") << QString(size, QLatin1Char('\n'));
    QTest::newRow("no visible letter") << QString(size, QChar(0x200b));
}

void tst_LabelLine::paint_hugeText_takesAMoment()
{
    QFETCH(QString, text);
    LineLabel label(text);
    const std::clock_t start = std::clock(); // processor time, whatever else the machine does
    label.image();
    label.toolTipAtMouse();
    const double seconds = double(std::clock() - start) / CLOCKS_PER_SEC;
    QVERIFY2(seconds < 0.5, qPrintable(QString::number(seconds)));
}

void tst_LabelLine::text_cut_staysAsGiven()
{
    const QString text = QStringLiteral("<b>line</b>\n").repeated(5000);
    LineLabel label(text);
    label.image();
    QCOMPARE(label.text(), text);
    QCOMPARE(label.toolTip(), QString());
}

void tst_LabelLine::toolTip_cutText_holdsItAsLetters()
{
    LineLabel label(QStringLiteral("<b>Sign in</b> & go\nnow"));
    QCOMPARE(label.toolTipAtMouse(), QStringLiteral("<p style='white-space:pre'>&lt;b&gt;Sign "
                                                    "in&lt;/b&gt; &amp; go now</p>"));
}

void tst_LabelLine::toolTip_hugeText_holdsItsBeginning_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("one word") << QString(5000, QLatin1Char('x'));
    QTest::newRow("wide letters") << QString(5000, QLatin1Char('W'));
    QTest::newRow("ideographs") << QString(5000, QChar(0x66f4));
    QTest::newRow("words") << QStringLiteral("some words ").repeated(500);
}

void tst_LabelLine::toolTip_hugeText_holdsItsBeginning()
{
    QFETCH(QString, text);
    LineLabel label(text);
    QString tip = label.toolTipAtMouse().remove(QStringLiteral("<p style='white-space:pre'>"));
    tip.remove(QStringLiteral("</p>"));
    const QStringList lines = tip.split(QStringLiteral("<br>"));
    QVERIFY(lines.size() > 3);
    QVERIFY(lines.join(QString()).size() <= 1001);
    QVERIFY(tip.endsWith(QChar(0x2026)));
    QVERIFY(text.startsWith(lines.join(QString()).chopped(1)));
}

void tst_LabelLine::toolTip_cutText_isWideAndBelowTheLabel_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("one word") << QString(300, QLatin1Char('x'));
    QTest::newRow("ideographs") << QString(900, QChar(0x66f4));
    QTest::newRow("words") << QStringLiteral("some words ").repeated(300);
}

void tst_LabelLine::toolTip_cutText_isWideAndBelowTheLabel()
{
    QFETCH(QString, text);
    QWidget window;
    window.resize(556, 341);
    auto *label = new LineLabel(text, QSize(507, 14));
    label->setParent(&window);
    label->move(28, 280);
    window.move(100, 100);
    window.show();
    QVERIFY(!label->toolTipAtMouse().isNull());
    const QWidget *tip = TipWindow();
    QVERIFY(tip);
    QVERIFY(tip->geometry().bottom() <= window.screen()->geometry().bottom());
    const QPoint corner = label->mapToGlobal(QPoint(0, label->height()));
    QCOMPARE(tip->x(), corner.x());
    QVERIFY2(tip->y() >= corner.y() && tip->y() <= corner.y() + 10,
             qPrintable(QString::number(tip->y() - corner.y())));
    QVERIFY2(tip->width() > 440 && tip->width() < 520, qPrintable(QString::number(tip->width())));
    QToolTip::hideText();
}

void tst_LabelLine::toolTip_fittingText_isTheLabelsOwn()
{
    LineLabel label(QStringLiteral("fits"));
    QCOMPARE(label.toolTipAtMouse(), QString());
    label.setToolTip(QStringLiteral("own"));
    QCOMPARE(label.toolTipAtMouse(), QStringLiteral("own"));
}

void tst_LabelLine::toolTip_setByTheCaller_isKept()
{
    LineLabel label(QString(500, QLatin1Char('x')));
    label.setToolTip(QStringLiteral("own"));
    QCOMPARE(label.toolTipAtMouse(), QStringLiteral("own"));
}

void tst_LabelLine::toolTip_onDarkPaper_isNotBlackLikeTheLabel()
{
    const QPalette before = QToolTip::palette();
    QPalette dark = before;
    dark.setColor(QPalette::ToolTipBase, Qt::black);
    dark.setColor(QPalette::ToolTipText, Qt::white);
    QToolTip::setPalette(dark);

    QWidget window;
    LineLabel label(QString(500, QLatin1Char('E')));
    label.setParent(&window);
    label.setStyleSheet(QStringLiteral("color: rgb(0, 0, 0);"));
    QVERIFY(!label.toolTipAtMouse().isNull());
    QWidget *tip = TipWindow();
    QVERIFY(tip);
    const QImage image = tip->grab().toImage().copy(4, 4, 100, 20); // without its edge
    tip->close();
    QToolTip::setPalette(before);
    int lightest = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            lightest = qMax(lightest, qGray(image.pixel(x, y)));
        }
    }
    QVERIFY(lightest > 240);
}

QTEST_MAIN(tst_LabelLine)
#include "tst_labelline.moc"
