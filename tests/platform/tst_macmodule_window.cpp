// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "MacStage.h"

#include <QtTest>

/// What the macOS module does to a window, seen by a stand-in for it.
class tst_MacModuleWindow : public QObject {
    Q_OBJECT

private slots:
    static void hideWindowCaptionBar_view_isTreatedInOrder_data();
    static void hideWindowCaptionBar_view_isTreatedInOrder();
    static void hideWindowCaptionBar_noTitleBar_findsNoButtons();
};

void tst_MacModuleWindow::hideWindowCaptionBar_view_isTreatedInOrder_data()
{
    QTest::addColumn<uint>("before");
    QTest::addColumn<uint>("after");
    QTest::newRow("titled, with all its buttons") << 0x1fU << 0x801fU;
    QTest::newRow("borderless") << 0U << 0x8000U;
    QTest::newRow("full-size content already") << 0x800fU << 0x800fU;
    QTest::newRow("bits beside that one") << 0x1d00fU << 0x1d00fU;
    QTest::newRow("all the other bits") << 0xffff7fffU << 0xffffffffU;
}

void tst_MacModuleWindow::hideWindowCaptionBar_view_isTreatedInOrder()
{
    QFETCH(uint, before);
    QFETCH(uint, after);
    MacStage stage;
    stage.set("STYLE_MASK", QString::number(before));

    const RunResult run = stage.run({QStringLiteral("caption")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.err, "window\n"
                      "setTitleVisibility:1\n"
                      "setTitlebarAppearsTransparent:1\n"
                      "setStyleMask:" +
                          QByteArray::number(after) +
                          "\n"
                          "standardWindowButton:0\nbutton 0 setHidden:1\n"
                          "standardWindowButton:2\nbutton 2 setHidden:1\n"
                          "standardWindowButton:1\nbutton 1 setHidden:1\n"
                          "live objects: 0\n");
}

void tst_MacModuleWindow::hideWindowCaptionBar_noTitleBar_findsNoButtons()
{
    MacStage stage;
    stage.set("STYLE_MASK", QStringLiteral("0"));
    stage.set("TITLE_BAR", QStringLiteral("none"));

    const RunResult run = stage.run({QStringLiteral("caption")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QVERIFY2(run.err.endsWith("setStyleMask:" + QByteArray::number(0x8000) +
                              "\nstandardWindowButton:0\nstandardWindowButton:2\n"
                              "standardWindowButton:1\nlive objects: 0\n"),
             run.err.constData());
}

QTEST_APPLESS_MAIN(tst_MacModuleWindow)
#include "tst_macmodule_window.moc"
