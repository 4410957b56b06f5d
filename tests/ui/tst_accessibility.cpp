// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "EveryDialog.h"

#include <QAccessible>
#include <QImage>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

/// What the dialogs give to people who use the keyboard or a screen reader.
class tst_Accessibility : public QObject {
    Q_OBJECT

private slots:
    static void accessibleNames_made_areTheTextsShown_data();
    static void accessibleNames_made_areTheTextsShown();
    static void tabKey_pressed_goesThroughTheButtonsInOrder_data();
    static void tabKey_pressed_goesThroughTheButtonsInOrder();
    static void focus_onAButton_isSeen_data() { EveryDialog::addRows(); }
    static void focus_onAButton_isSeen();
    static void button_ofADialog_isReachableLikeAnyOther_data() { EveryDialog::addRows(); }
    static void button_ofADialog_isReachableLikeAnyOther();
};

void tst_Accessibility::accessibleNames_made_areTheTextsShown_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("widget");
    QTest::addColumn<QAccessible::Role>("role");
    QTest::addColumn<QString>("text");
    const auto button = QAccessible::Button;
    const auto label = QAccessible::StaticText;
    QTest::newRow("update") << "notice"
                            << "update" << button << "立即更新";
    QTest::newRow("skip") << "notice"
                          << "skip" << button << "以后再说";
    QTest::newRow("version") << "notice"
                             << "version" << label << "发现新版本：3.10.25";
    QTest::newRow("updating") << "progress"
                              << "label" << label << "正在更新";
    QTest::newRow("desc") << "progress"
                          << "desc" << label << "正在下载更新文件";
    QTest::newRow("cancel") << "progress"
                            << "cancel" << button << "取消";
    QTest::newRow("retry") << "error"
                           << "retry" << button << "再试一次";
    QTest::newRow("download") << "error"
                              << "download" << button << "官网下载";
    QTest::newRow("failed") << "error"
                            << "label" << label << "更新失败";
    QTest::newRow("error") << "error"
                           << "error" << label << "网络错误：10012";
}

void tst_Accessibility::accessibleNames_made_areTheTextsShown()
{
    QFETCH(QString, name);
    QFETCH(QString, widget);
    EveryDialog every;
    const auto dialog = every.make(name);
    dialog->show();
    QAccessibleInterface *face =
        QAccessible::queryAccessibleInterface(dialog->findChild<QWidget *>(widget));
    QVERIFY(face);
    QTEST(face->role(), "role");
    QTEST(face->text(QAccessible::Name), "text");
    QVERIFY(!face->state().invisible);
}

void tst_Accessibility::tabKey_pressed_goesThroughTheButtonsInOrder_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("order");
    QTest::newRow("notice") << "notice" << QStringList{"update", "skip", "update"};
    QTest::newRow("progress") << "progress" << QStringList{"cancel", "cancel"};
    QTest::newRow("error") << "error" << QStringList{"retry", "download", "retry"};
}

void tst_Accessibility::tabKey_pressed_goesThroughTheButtonsInOrder()
{
    QFETCH(QString, name);
    QFETCH(QStringList, order);
    EveryDialog every;
    const auto dialog = every.make(name);
    dialog->show();
    QVERIFY(QTest::qWaitForWindowActive(dialog.get()));
    for (const QString &button : order) {
        QVERIFY(dialog->focusWidget());
        QCOMPARE(dialog->focusWidget()->objectName(), button);
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Tab);
    }
}

void tst_Accessibility::focus_onAButton_isSeen()
{
    QFETCH(QString, name);
    EveryDialog every;
    const auto dialog = every.make(name);
    dialog->show();
    QVERIFY(QTest::qWaitForWindowActive(dialog.get()));
    const auto buttons = dialog->findChildren<QPushButton *>();
    QTest::keyClick(dialog.get(), Qt::Key_Tab); // from now on the keyboard is in use
    for (QPushButton *button : buttons) {
        button->setFocus(Qt::TabFocusReason);
        const QImage with = button->grab().toImage();
        button->clearFocus();
        QVERIFY2(button->grab().toImage() != with, qPrintable(button->objectName()));
    }
}

void tst_Accessibility::button_ofADialog_isReachableLikeAnyOther()
{
    QFETCH(QString, name);
    EveryDialog every;
    const auto dialog = every.make(name);
    dialog->show();
    QVERIFY(QTest::qWaitForWindowActive(dialog.get()));
    const QPushButton plain;
    const auto buttons = dialog->findChildren<QPushButton *>();
    for (QPushButton *button : buttons) {
        QCOMPARE(button->focusPolicy(), plain.focusPolicy());
        QCOMPARE(button->mask(), plain.mask());
        QVERIFY(!button->testAttribute(Qt::WA_TransparentForMouseEvents));
        button->disconnect(dialog.get()); // which would close, and open a browser
        const QSignalSpy clicked(button, &QPushButton::clicked);
        QAccessibleInterface *face = QAccessible::queryAccessibleInterface(button);
        QVERIFY(face && face->state().focusable && !face->state().disabled);
        QVERIFY(face->actionInterface());
        face->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTRY_COMPARE(clicked.size(), 1);
    }
}

QTEST_MAIN(tst_Accessibility)
#include "tst_accessibility.moc"
