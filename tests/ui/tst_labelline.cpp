// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "ui/LabelLine.h"

#include <QApplication>
#include <QHelpEvent>
#include <QImage>
#include <QLabel>
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

/// The rows of \a image that hold anything darker than paper.
QPair<int, int> inkRows(const QImage &image)
{
    int first = -1;
    int last = -1;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qGray(image.pixel(x, y)) < 128) {
                first = first < 0 ? y : first;
                last = y;
            }
        }
    }
    return {first, last};
}

QPair<int, int> inkColumns(const QImage &image)
{
    return inkRows(image.transformed(QTransform().rotate(90)));
}

int length(QPair<int, int> range)
{
    return range.second - range.first + 1;
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
    static void paint_tallFont_isFittedIn_data();
    static void paint_tallFont_isFittedIn();
    static void paint_rightAligned_staysRight();
    static void paint_hugeText_takesAMoment_data();
    static void paint_hugeText_takesAMoment();
    static void text_cut_staysAsGiven();
    static void toolTip_cutText_holdsItAsLetters();
    static void toolTip_hugeText_holdsItsBeginning();
    static void toolTip_fittingText_isTheLabelsOwn();
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

void tst_LabelLine::paint_tallFont_isFittedIn_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("pixelSize");
    for (const int size : {11, 13, 14, 17, 24}) {
        QTest::addRow("heads, %d pixels", size) << "EHE" << size;
        QTest::addRow("heads and feet, %d pixels", size) << "Ejgpqy" << size;
    }
}

void tst_LabelLine::paint_tallFont_isFittedIn()
{
    QFETCH(QString, text);
    QFETCH(int, pixelSize);
    QFont font;
    font.setPixelSize(pixelSize);
    LineLabel high(text);
    high.setFont(font);
    const int wholeHeight = length(inkRows(high.image()));
    const int wholeWidth = length(inkColumns(high.image()));

    LineLabel low(text, QSize(300, 14));
    low.setFont(font);
    const auto [first, last] = inkRows(low.image());
    const int width = length(inkColumns(low.image()));
    if (wholeHeight <= low.height()) {
        QCOMPARE(last - first + 1, wholeHeight);
        QCOMPARE(width, wholeWidth);
    } else { // as large as fits, where a faint row more may be cut
        QVERIFY(last - first + 1 >= low.height() - 3);
        const double allowed = 1.15 * (low.height() + 1) / wholeHeight;
        QVERIFY2(width <= allowed * wholeWidth, "cut, not fitted in");
    }
    QVERIFY2(qAbs(first - (low.height() - 1 - last)) <= 3, "not in the middle");
    QCOMPARE(low.font().pixelSize(), pixelSize);
}

void tst_LabelLine::paint_rightAligned_staysRight()
{
    LineLabel label(QStringLiteral("word"), QSize(200, 8));
    QVERIFY(label.fontMetrics().height() > label.height());
    QVERIFY(inkColumns(label.image()).second < 100);
    label.setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    const auto [first, last] = inkColumns(label.image());
    QVERIFY(first > 100);
    QVERIFY(last >= 196);
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
    const std::clock_t start = std::clock(); // the processor's time, whatever else it does
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
    QCOMPARE(label.toolTipAtMouse(),
             QStringLiteral("<p>&lt;b&gt;Sign in&lt;/b&gt; &amp; go now</p>"));
}

void tst_LabelLine::toolTip_hugeText_holdsItsBeginning()
{
    LineLabel label(QString(5000, QLatin1Char('x')));
    const QString tip = label.toolTipAtMouse();
    QCOMPARE(tip, "<p>" + QString(1000, QLatin1Char('x')) + QChar(0x2026) + "</p>");
}

void tst_LabelLine::toolTip_fittingText_isTheLabelsOwn()
{
    LineLabel label(QStringLiteral("fits"));
    QCOMPARE(label.toolTipAtMouse(), QString());
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
    QWidget *tip = nullptr;
    const auto windows = QApplication::topLevelWidgets();
    for (QWidget *one : windows) {
        tip = one->isVisible() && one->windowType() == Qt::ToolTip ? one : tip;
    }
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
