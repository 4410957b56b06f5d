// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "DesktopColors.h"
#include "EveryDialog.h"
#include "FormTable.h"
#include "ui/DialogFrame.h"

#include <QApplication>
#include <QCursor>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLibraryInfo>
#include <QPainter>
#include <QPointer>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QResource>
#include <QScreen>
#include <QSignalSpy>
#include <QStyle>
#include <QTemporaryDir>
#include <QtTest>

/// Takes the resources away while it lives. (Their functions are known in the global namespace
/// only.)
class WithoutResources {
public:
    WithoutResources() { Q_CLEANUP_RESOURCE(Update); }
    ~WithoutResources() { Q_INIT_RESOURCE(Update); }
    Q_DISABLE_COPY_MOVE(WithoutResources)
};

namespace {

QImage Grabbed(QWidget &widget)
{
    return widget.grab().toImage().convertToFormat(QImage::Format_ARGB32);
}

/// The face of \a dialog without its widgets.
QImage BareFace(QDialog &dialog)
{
    const auto children = ChildWidgets(dialog);
    for (QWidget *child : children) {
        child->hide();
    }
    return Grabbed(dialog);
}

/// What a dialog that paints nothing looks like: its default background.
QImage PlainDialog(QSize size)
{
    QDialog dialog;
    dialog.resize(size);
    return Grabbed(dialog);
}

QImage Background()
{
    return QImage(QStringLiteral(":/update_bg")).convertToFormat(QImage::Format_ARGB32);
}

QStringList s_messages;

void KeepMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    s_messages << message;
}

} // namespace

/// What all dialogs have in common.
class tst_DialogFrame : public QObject {
    Q_OBJECT

private slots:
    static void dialog_made_isFramelessAndHasTheSharedSize_data() { EveryDialog::addRows(); }
    static void dialog_made_isFramelessAndHasTheSharedSize();
    static void face_painted_isTheImage_data() { EveryDialog::addRows(); }
    static void face_painted_isTheImage();
    static void face_withoutTheImage_isTheDefaultBackground_data() { DesktopColors::addRows(); }
    static void face_withoutTheImage_isTheDefaultBackground();
    static void face_besideTheImage_isTheDefaultBackground_data() { DesktopColors::addRows(); }
    static void face_besideTheImage_isTheDefaultBackground();
    static void palettes_shown_areTheApplications_data() { DesktopColors::addRows(); }
    static void palettes_shown_areTheApplications();
    static void style_made_onlyWhenShown_data() { EveryDialog::addRows(); }
    static void style_made_onlyWhenShown();
    static void face_paintedAgain_loadsTheImageAnew();
    static void face_onADenseScreen_isSmooth();
    static void place_shown_isTheMiddleOfTheScreen_data() { EveryDialog::addRows(); }
    static void place_shown_isTheMiddleOfTheScreen();
    static void place_shownAgain_isTheMiddleUnlessMoved();
    static void place_severalScreens_isTheOneOfThePointer();
    static void escape_pressed_rejects_data() { EveryDialog::addRows(); }
    static void escape_pressed_rejects();
};

void tst_DialogFrame::dialog_made_isFramelessAndHasTheSharedSize()
{
    QFETCH(QString, name);
    EveryDialog every;
    const auto dialog = every.make(name);
    CompareFrame(*dialog);
}

void tst_DialogFrame::face_painted_isTheImage()
{
    QFETCH(QString, name);
    EveryDialog every;
    const auto dialog = every.make(name);
    QCOMPARE(BareFace(*dialog), Background());
}

void tst_DialogFrame::face_withoutTheImage_isTheDefaultBackground()
{
    QFETCH(QString, name);
    QFETCH(QPalette, palette);
    const DesktopColors desktop(palette);
    EveryDialog every;
    const auto dialog = every.make(name);
    const WithoutResources without;
    s_messages.clear();
    const auto previous = qInstallMessageHandler(KeepMessage);
    const QImage face = BareFace(*dialog);
    qInstallMessageHandler(previous);
    QCOMPARE(face, PlainDialog(dialog->size()));
    QCOMPARE(s_messages, QStringList());
}

void tst_DialogFrame::face_besideTheImage_isTheDefaultBackground()
{
    QFETCH(QString, name);
    QFETCH(QPalette, palette);
    const DesktopColors desktop(palette);
    EveryDialog every;
    const auto dialog = every.make(name);
    dialog->resize(700, 450);
    QImage expected = PlainDialog(QSize(700, 450));
    QPainter painter(&expected);
    painter.drawImage(0, 0, Background()); // which is not scaled with the dialog
    painter.end();
    QCOMPARE(BareFace(*dialog), expected);
}

void tst_DialogFrame::palettes_shown_areTheApplications()
{
    QFETCH(QString, name);
    QFETCH(QPalette, palette);
    const DesktopColors desktop(palette);
    EveryDialog every;
    const auto dialog = every.make(name);
    dialog->show();
    QCOMPARE(dialog->palette(), QApplication::palette());
    QVERIFY(!dialog->testAttribute(Qt::WA_SetPalette));
    QDialog plain;
    QPushButton button(&plain);
    QLabel label(&plain);
    button.setStyleSheet(QStringLiteral("color: rgb(0, 0, 0);"));
    label.setStyleSheet(QStringLiteral("color: rgb(0, 0, 0);"));
    const QProgressBar bar(&plain);
    plain.show();
    const auto children = ChildWidgets(*dialog);
    for (const QWidget *child : children) {
        const bool isLabel = child->inherits("QLabel");
        const bool isButton = child->inherits("QPushButton");
        const QWidget *alike = isLabel ? static_cast<const QWidget *>(&label) : &bar;
        alike = isButton ? &button : alike;
        QCOMPARE(child->palette(), alike->palette());
    }
}

void tst_DialogFrame::style_made_onlyWhenShown()
{
    QFETCH(QString, name);
    EveryDialog every;
    const auto dialog = every.make(name);
    QVERIFY(!dialog->findChild<QStyle *>());
    dialog->show();
    QPointer<QStyle> style = dialog->findChild<QStyle *>(QString(), Qt::FindDirectChildrenOnly);
    QVERIFY(style);
    dialog->hide();
    dialog->show();
    QCOMPARE(dialog->findChildren<QStyle *>(QString(), Qt::FindDirectChildrenOnly),
             QList<QStyle *>{style});
}

void tst_DialogFrame::face_paintedAgain_loadsTheImageAnew()
{
    EveryDialog every;
    const auto dialog = every.make(QStringLiteral("notice"));
    const QImage before = BareFace(*dialog);
    QImage between;
    {
        const WithoutResources without;
        between = BareFace(*dialog);
    }
    QVERIFY(between != before);
    QCOMPARE(BareFace(*dialog), before);
}

void tst_DialogFrame::face_onADenseScreen_isSmooth()
{
    EveryDialog every;
    const auto dialog = every.make(QStringLiteral("notice"));
    (void)BareFace(*dialog); // hides the widgets
    QImage dense(dialog->size() * 2, QImage::Format_RGB32);
    dense.setDevicePixelRatio(2);
    dialog->render(&dense);

    const QImage single = Background();
    // A picture that is only doubled holds blocks of four equal pixels, and nothing else. A smooth
    // one mixes the colours wherever two neighbours differ.
    int edges = 0;
    for (int y = 0; y < single.height(); ++y) {
        for (int x = 0; x < single.width() - 1; ++x) {
            edges += qAbs(qGray(single.pixel(x, y)) - qGray(single.pixel(x + 1, y))) > 8;
        }
    }
    int mixed = 0;
    for (int y = 0; y < dense.height(); y += 2) {
        for (int x = 0; x < dense.width(); x += 2) {
            const QRgb corner = dense.pixel(x, y);
            mixed += corner != dense.pixel(x + 1, y) || corner != dense.pixel(x, y + 1) ||
                     corner != dense.pixel(x + 1, y + 1);
        }
    }
    QVERIFY2(edges > 0 && mixed >= edges, qPrintable(QString::number(mixed)));

    // It is the same picture at the same place.
    const QImage back =
        dense.scaled(dialog->size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    qint64 difference = 0;
    for (int y = 0; y < back.height(); ++y) {
        for (int x = 0; x < back.width(); ++x) {
            difference += qAbs(qGray(back.pixel(x, y)) - qGray(single.pixel(x, y)));
        }
    }
    QVERIFY(difference < qint64{back.width()} * back.height()); // one step of 256 on average
}

void tst_DialogFrame::place_shown_isTheMiddleOfTheScreen()
{
    QFETCH(QString, name);
    EveryDialog every;
    const auto dialog = every.make(name);
    dialog->show();
    const QRect room = dialog->screen()->availableGeometry();
    QCOMPARE(dialog->x() - room.left(), (room.width() - dialog->width()) / 2);
    QCOMPARE(dialog->y() - room.top(), (room.height() - dialog->height()) / 2);
    QCOMPARE(dialog->size(), QSize(556, 341));
}

void tst_DialogFrame::place_shownAgain_isTheMiddleUnlessMoved()
{
    EveryDialog every;
    const auto dialog = every.make(QStringLiteral("error"));
    dialog->show();
    const QPoint middle = dialog->pos();
    dialog->hide();
    dialog->resize(500, 300);
    dialog->show();
    QCOMPARE(dialog->pos(), middle + QPoint(28, 21));
    dialog->hide();
    dialog->move(3, 4);
    dialog->show();
    QCOMPARE(dialog->pos(), QPoint(3, 4));
}

/// Runs again on two screens, which the platform without a display has from Qt 6 on.
void tst_DialogFrame::place_severalScreens_isTheOneOfThePointer()
{
    if (QLibraryInfo::version().majorVersion() < 6) {
        QSKIP("one screen only with this Qt");
    }
    const QList<QScreen *> screens = QGuiApplication::screens();
    if (screens.size() == 1) {
        const QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("screens.json")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(R"({"windowFrameMargins": false, "screens": [
            {"name": "left", "x": 0, "y": 0, "width": 800, "height": 600},
            {"name": "right", "x": 800, "y": 100, "width": 1000, "height": 700}]})");
        file.close();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"),
                           "offscreen:configfile=" + file.fileName());
        QProcess again;
        again.setProcessEnvironment(environment);
        again.setProcessChannelMode(QProcess::MergedChannels);
        again.start(QCoreApplication::applicationFilePath(),
                    {QString::fromLatin1(QTest::currentTestFunction())});
        QVERIFY(again.waitForFinished());
        QVERIFY2(again.exitCode() == 0, again.readAll().constData());
        return;
    }
    QCOMPARE(screens.size(), 2);
    EveryDialog every;
    const auto dialog = every.make(QStringLiteral("notice"));
    for (QScreen *screen : {screens.last(), screens.first(), screens.last()}) {
        QCursor::setPos(screen->geometry().center());
        dialog->show();
        QCOMPARE(dialog->screen(), screen);
        QVERIFY((dialog->geometry().center() - screen->geometry().center()).manhattanLength() <= 1);
        dialog->hide();
    }
}

void tst_DialogFrame::escape_pressed_rejects()
{
    QFETCH(QString, name);
    EveryDialog every;
    const auto dialog = every.make(name);
    const QSignalSpy rejected(dialog.get(), &QDialog::rejected);
    QCOMPARE(ExecAndPress(*dialog, Qt::Key_Escape), 0);
    QCOMPARE(rejected.size(), 1);
}

QTEST_MAIN(tst_DialogFrame)
#include "tst_dialogframe.moc"
