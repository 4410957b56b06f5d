// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "FormTable.h"
#include "ui/UpdateNotice.h"

#include <QImage>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

#include <cstddef>

static_assert(offsetof(Ui_CUpdateNoticeClass, update) == 0);
static_assert(offsetof(Ui_CUpdateNoticeClass, skip) == sizeof(void *));
static_assert(offsetof(Ui_CUpdateNoticeClass, version) == 2 * sizeof(void *));

class tst_UpdateNotice : public QObject {
    Q_OBJECT

private slots:
    static void widget_made_isAsTheFormSays_data();
    static void widget_made_isAsTheFormSays();
    static void dialog_made_isAFramelessDialog();
    static void setupUi_nameless_getsTheFormsName();
    static void texts_translated_haveTheirContexts();
    static void update_made_isTheDefaultButton();

    static void skip_mandatory_isHidden_data();
    static void skip_mandatory_isHidden();

    static void setUpdateVersion_text_isShownAsGiven_data();
    static void setUpdateVersion_text_isShownAsGiven();
    static void setUpdateVersion_markup_isShownAsLetters();

    static void exec_key_givesItsAnswer_data();
    static void exec_key_givesItsAnswer();
    static void exec_click_givesItsAnswer_data();
    static void exec_click_givesItsAnswer();
    static void exec_tabThenSpace_putsItOff();
    static void click_answersAtOnce_data();
    static void click_answersAtOnce();
};

void tst_UpdateNotice::widget_made_isAsTheFormSays_data()
{
    AddRows({
        {"update", "QPushButton", {360, 310, 80, 24}, false, "立即更新"},
        {"skip", "QPushButton", {460, 310, 80, 24}, false, "以后再说"},
        {"version", "QLabel", {28, 250, 507, 40}, true, "发现新版本：3.0.2.0"},
    });
}

void tst_UpdateNotice::widget_made_isAsTheFormSays()
{
    const CUpdateNotice dialog(false);
    QCOMPARE(ChildWidgets(dialog).size(), 3);
    CompareRow(dialog);
}

void tst_UpdateNotice::dialog_made_isAFramelessDialog()
{
    const CUpdateNotice dialog(true);
    QCOMPARE(dialog.metaObject()->className(), "CUpdateNotice");
    QCOMPARE(dialog.windowTitle(), QStringLiteral("CUpdateNotice"));
    QVERIFY(!dialog.parent());
    CompareFrame(dialog);
}

void tst_UpdateNotice::setupUi_nameless_getsTheFormsName()
{
    QCOMPARE(CUpdateNotice(false).objectName(), QStringLiteral("CUpdateNoticeClass"));
    QDialog named;
    named.setObjectName(QStringLiteral("own"));
    Ui_CUpdateNoticeClass form{};
    form.setupUi(&named);
    QCOMPARE(named.objectName(), QStringLiteral("own"));
}

void tst_UpdateNotice::texts_translated_haveTheirContexts()
{
    const ContextTranslator translator;
    CUpdateNotice dialog(false);
    const QString form = QStringLiteral("[CUpdateNoticeClass]");
    QCOMPARE(dialog.windowTitle(), form + "CUpdateNotice");
    QCOMPARE(dialog.findChild<QPushButton *>("update")->text(), form + "立即更新");
    QCOMPARE(dialog.findChild<QPushButton *>("skip")->text(), form + "以后再说");
    const auto *version = dialog.findChild<QLabel *>("version");
    QCOMPARE(version->text(), form + "发现新版本：3.0.2.0");
    dialog.setUpdateVersion(QStringLiteral("7.0.0"));
    QCOMPARE(version->text(), QStringLiteral("[CUpdateNotice]发现新版本：7.0.0"));
}

void tst_UpdateNotice::update_made_isTheDefaultButton()
{
    const CUpdateNotice dialog(false);
    QVERIFY(dialog.findChild<QPushButton *>("update")->isDefault());
    QVERIFY(!dialog.findChild<QPushButton *>("skip")->isDefault());
}

void tst_UpdateNotice::skip_mandatory_isHidden_data()
{
    QTest::addColumn<bool>("mandatory");
    QTest::newRow("may be put off") << false;
    QTest::newRow("may not be put off") << true;
}

void tst_UpdateNotice::skip_mandatory_isHidden()
{
    QFETCH(bool, mandatory);
    CUpdateNotice dialog(mandatory);
    dialog.show();
    QCOMPARE(dialog.findChild<QPushButton *>("skip")->isVisible(), !mandatory);
    QVERIFY(dialog.findChild<QPushButton *>("update")->isVisible());
    QVERIFY(dialog.findChild<QLabel *>("version")->isVisible());
}

void tst_UpdateNotice::setUpdateVersion_text_isShownAsGiven_data()
{
    QTest::addColumn<QString>("version");
    QTest::newRow("usual") << "3.10.25";
    QTest::newRow("empty") << "";
    QTest::newRow("null") << QString();
    QTest::newRow("place marker") << "%1";
    QTest::newRow("many markers") << "%2 %L1 %% %1";
    QTest::newRow("blanks") << "  7  ";
    QTest::newRow("markup") << "<b>7</b>&amp;";
    QTest::newRow("line break") << "7\n8";
}

void tst_UpdateNotice::setUpdateVersion_text_isShownAsGiven()
{
    QFETCH(QString, version);
    CUpdateNotice dialog(false);
    dialog.setUpdateVersion(version);
    QCOMPARE(dialog.findChild<QLabel *>("version")->text(), "发现新版本：" + version);
}

void tst_UpdateNotice::setUpdateVersion_markup_isShownAsLetters()
{
    CUpdateNotice dialog(false);
    auto *label = dialog.findChild<QLabel *>("version");
    dialog.setUpdateVersion(QString());
    const QImage bare = label->grab().toImage();
    dialog.setUpdateVersion(QStringLiteral("<b></b>"));
    QVERIFY(label->grab().toImage() != bare);
}

void tst_UpdateNotice::exec_key_givesItsAnswer_data()
{
    QTest::addColumn<bool>("mandatory");
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<int>("answer");
    QTest::newRow("Return") << false << Qt::Key_Return << 1;
    QTest::newRow("Enter") << false << Qt::Key_Enter << 1;
    QTest::newRow("Escape") << false << Qt::Key_Escape << 0;
    QTest::newRow("mandatory, Return") << true << Qt::Key_Return << 1;
    QTest::newRow("mandatory, Escape") << true << Qt::Key_Escape << 0;
}

void tst_UpdateNotice::exec_key_givesItsAnswer()
{
    QFETCH(bool, mandatory);
    QFETCH(Qt::Key, key);
    CUpdateNotice dialog(mandatory);
    QTEST(ExecAndPress(dialog, key), "answer");
}

void tst_UpdateNotice::exec_click_givesItsAnswer_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("answer");
    QTest::newRow("update") << "update" << 1;
    QTest::newRow("skip") << "skip" << 0;
}

void tst_UpdateNotice::exec_click_givesItsAnswer()
{
    QFETCH(QString, button);
    CUpdateNotice dialog(false);
    QSignalSpy finished(&dialog, &QDialog::finished);
    QTimer::singleShot(0, &dialog, [&] {
        QTest::mouseClick(dialog.findChild<QPushButton *>(button), Qt::LeftButton);
    });
    QTEST(dialog.exec(), "answer");
    QCOMPARE(finished.size(), 1);
}

void tst_UpdateNotice::exec_tabThenSpace_putsItOff()
{
    CUpdateNotice dialog(false);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    QVERIFY(dialog.findChild<QPushButton *>("update")->hasFocus());
    QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
    QVERIFY(dialog.findChild<QPushButton *>("skip")->hasFocus());
    QTest::keyClick(dialog.focusWidget(), Qt::Key_Space);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), 0);
}

void tst_UpdateNotice::click_answersAtOnce_data()
{
    exec_click_givesItsAnswer_data();
}

void tst_UpdateNotice::click_answersAtOnce()
{
    QFETCH(QString, button);
    CUpdateNotice dialog(false);
    dialog.setResult(-1);
    dialog.show();
    dialog.findChild<QPushButton *>(button)->click();
    QVERIFY(!dialog.isVisible()); // before any event
    QTEST(dialog.result(), "answer");
}

QTEST_MAIN(tst_UpdateNotice)
#include "tst_updatenotice.moc"
