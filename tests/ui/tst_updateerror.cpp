// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "FormTable.h"
#include "ui/UpdateError.h"

#include <QDesktopServices>
#include <QLabel>
#include <QPushButton>
#include <QUrl>
#include <QtTest>

#include <cstddef>
#include <ctime>

static_assert(offsetof(Ui_CUpdateError, retry) == 0);
static_assert(offsetof(Ui_CUpdateError, download) == sizeof(void *));
static_assert(offsetof(Ui_CUpdateError, label) == 2 * sizeof(void *));
static_assert(offsetof(Ui_CUpdateError, error) == 3 * sizeof(void *));

namespace {

/// Stands in for the browser: keeps the http addresses that are opened while it lives.
class Browser : public QObject {
    Q_OBJECT

public:
    Browser() { QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "open"); }
    ~Browser() override { QDesktopServices::unsetUrlHandler(QStringLiteral("http")); }
    Q_DISABLE_COPY_MOVE(Browser)

    QList<QByteArray> opened;

public slots:
    void open(const QUrl &url) { opened << url.toEncoded(); }
};

QPushButton *Button(const CUpdateError &dialog, const char *name)
{
    return dialog.findChild<QPushButton *>(QLatin1String(name));
}

} // namespace

class tst_UpdateError : public QObject {
    Q_OBJECT

private slots:
    static void widget_made_isAsTheFormSays_data();
    static void widget_made_isAsTheFormSays();
    static void dialog_made_isAFramelessDialog();
    static void setupUi_nameless_getsTheFormsName();
    static void label_made_expandsBothWays();
    static void texts_translated_haveTheirContext();
    static void retry_made_isTheDefaultButton();
    static void buttons_made_onlyRetryIsShown();

    static void setError_texts_areShownAsGiven_data();
    static void setError_texts_areShownAsGiven();
    static void setError_retryAndAddress_chooseTheButtons_data();
    static void setError_retryAndAddress_chooseTheButtons();
    static void setUrl_afterFinalError_showsDownloadAlone();
    static void setUrl_thenFinalError_hidesBoth();
    static void setUrl_emptied_hidesDownload_data();
    static void setUrl_emptied_hidesDownload();
    static void setError_huge_isShownAtOnce_data();
    static void setError_huge_isShownAtOnce();

    static void openDownloadUrl_address_isParsedTolerantly_data();
    static void openDownloadUrl_address_isParsedTolerantly();
    static void download_pressedTwice_opensTwiceAndStays();
    static void openDownloadUrl_noBrowser_isIgnored();

    static void exec_key_givesItsAnswer_data();
    static void exec_key_givesItsAnswer();
    static void exec_finalError_ignoresReturn();
    static void exec_again_showsTheNextError();
};

void tst_UpdateError::widget_made_isAsTheFormSays_data()
{
    AddRows({
        {"retry", "QPushButton", {360, 310, 80, 24}, false, "再试一次"},
        {"download", "QPushButton", {460, 310, 80, 24}, false, "官网下载"},
        {"label", "QLabel", {28, 230, 507, 40}, true, "更新失败"},
        {"error", "QLabel", {28, 280, 507, 14}, false, "网络错误：10012"},
    });
}

void tst_UpdateError::widget_made_isAsTheFormSays()
{
    const CUpdateError dialog;
    QCOMPARE(ChildWidgets(dialog).size(), 4);
    CompareRow(dialog);
}

void tst_UpdateError::dialog_made_isAFramelessDialog()
{
    const CUpdateError dialog;
    QCOMPARE(dialog.metaObject()->className(), "CUpdateError");
    QCOMPARE(dialog.windowTitle(), QStringLiteral("CUpdateError"));
    QVERIFY(!dialog.parent());
    CompareFrame(dialog);
}

void tst_UpdateError::setupUi_nameless_getsTheFormsName()
{
    QCOMPARE(CUpdateError().objectName(), QStringLiteral("CUpdateError"));
    QDialog named;
    named.setObjectName(QStringLiteral("own"));
    Ui_CUpdateError form{};
    form.setupUi(&named);
    QCOMPARE(named.objectName(), QStringLiteral("own"));
}

void tst_UpdateError::label_made_expandsBothWays()
{
    const CUpdateError dialog;
    const QSizePolicy policy = dialog.findChild<QLabel *>("label")->sizePolicy();
    QCOMPARE(policy.horizontalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(policy.verticalPolicy(), QSizePolicy::Expanding);
    QCOMPARE(policy.retainSizeWhenHidden(), QLabel().sizePolicy().retainSizeWhenHidden());
}

void tst_UpdateError::texts_translated_haveTheirContext()
{
    const ContextTranslator translator;
    const CUpdateError dialog;
    const QString form = QStringLiteral("[CUpdateError]");
    QCOMPARE(dialog.windowTitle(), form + "CUpdateError");
    QCOMPARE(Button(dialog, "retry")->text(), form + "再试一次");
    QCOMPARE(Button(dialog, "download")->text(), form + "官网下载");
    QCOMPARE(dialog.findChild<QLabel *>("label")->text(), form + "更新失败");
    QCOMPARE(dialog.findChild<QLabel *>("error")->text(), form + "网络错误：10012");
}

void tst_UpdateError::retry_made_isTheDefaultButton()
{
    const CUpdateError dialog;
    QVERIFY(Button(dialog, "retry")->isDefault());
    QVERIFY(!Button(dialog, "download")->isDefault());
}

void tst_UpdateError::buttons_made_onlyRetryIsShown()
{
    CUpdateError dialog;
    dialog.show();
    QVERIFY(Button(dialog, "retry")->isVisible());
    QVERIFY(!Button(dialog, "download")->isVisible());
}

void tst_UpdateError::setError_texts_areShownAsGiven_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("message");
    QTest::newRow("usual") << "配置错误"
                           << "升级地址不合法:x";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("place marker") << "%1"
                                  << "%1 %2";
    QTest::newRow("markup") << "<i>t</i>"
                            << "<html><body>Sign in &amp; go</body></html>";
    QTest::newRow("ampersand") << "a & b && c"
                               << "&x";
    QTest::newRow("lines") << "one\ntwo"
                           << "three\r\nfour\n";
}

void tst_UpdateError::setError_texts_areShownAsGiven()
{
    QFETCH(QString, title);
    QFETCH(QString, message);
    CUpdateError dialog;
    dialog.setError(title, message, true);
    QCOMPARE(dialog.findChild<QLabel *>("label")->text(), title);
    QCOMPARE(dialog.findChild<QLabel *>("error")->text(), message);
}

void tst_UpdateError::setError_retryAndAddress_chooseTheButtons_data()
{
    QTest::addColumn<bool>("retry");
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("retryShown");
    QTest::addColumn<bool>("downloadShown");
    QTest::newRow("retry and address") << true << "http://x/" << true << true;
    QTest::newRow("retry alone") << true << "" << true << false;
    QTest::newRow("address alone") << false << "http://x/" << false << false;
    QTest::newRow("neither") << false << "" << false << false;
    QTest::newRow("null address") << true << QString() << true << false;
    QTest::newRow("blank address") << true << " " << true << true; // kept as it is
}

void tst_UpdateError::setError_retryAndAddress_chooseTheButtons()
{
    QFETCH(bool, retry);
    QFETCH(QString, url);
    CUpdateError dialog;
    dialog.show();
    dialog.setUrl(url);
    dialog.setError(QStringLiteral("t"), QStringLiteral("m"), retry);
    QTEST(Button(dialog, "retry")->isVisible(), "retryShown");
    QTEST(Button(dialog, "download")->isVisible(), "downloadShown");
}

void tst_UpdateError::setUrl_afterFinalError_showsDownloadAlone()
{
    CUpdateError dialog;
    dialog.show();
    dialog.setError(QStringLiteral("t"), QStringLiteral("m"), false);
    dialog.setUrl(QStringLiteral("http://x/"));
    QVERIFY(!Button(dialog, "retry")->isVisible());
    QVERIFY(Button(dialog, "download")->isVisible());
}

void tst_UpdateError::setUrl_thenFinalError_hidesBoth()
{
    CUpdateError dialog;
    dialog.show();
    dialog.setUrl(QStringLiteral("http://x/"));
    QVERIFY(Button(dialog, "download")->isVisible());
    dialog.setError(QStringLiteral("t"), QStringLiteral("m"), false);
    QVERIFY(!Button(dialog, "retry")->isVisible());
    QVERIFY(!Button(dialog, "download")->isVisible());
}

void tst_UpdateError::setUrl_emptied_hidesDownload_data()
{
    QTest::addColumn<QString>("url");
    QTest::newRow("null") << QString();
    QTest::newRow("empty") << QStringLiteral("");
}

void tst_UpdateError::setUrl_emptied_hidesDownload()
{
    QFETCH(QString, url);
    CUpdateError dialog;
    dialog.show();
    dialog.setUrl(QStringLiteral("http://x/"));
    dialog.setUrl(url);
    QVERIFY(!Button(dialog, "download")->isVisible());
    QVERIFY(Button(dialog, "retry")->isVisible());
}

void tst_UpdateError::setError_huge_isShownAtOnce_data()
{
    QTest::addColumn<QString>("message");
    const int size = 5 * 1024 * 1024;
    QTest::newRow("one word") << QString(size, QLatin1Char('a'));
    QTest::newRow("control characters") << QString(size, QChar(1));
    QTest::newRow("many scripts") << QString::fromUtf8("网a络éب").repeated(size / 5);
    QTest::newRow("many lines") << QString::fromUtf8("<p>x</p>\n").repeated(size / 9);
}

void tst_UpdateError::setError_huge_isShownAtOnce()
{
    QFETCH(QString, message);
    CUpdateError dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    dialog.setError(QStringLiteral("t"), message.left(100), true);
    dialog.repaint();                        // loads the fonts
    const std::clock_t start = std::clock(); // processor time, whatever else the machine does
    dialog.setError(QStringLiteral("t"), message, true);
    for (int i = 0; i < 3; ++i) {
        dialog.repaint();
    }
    const double seconds = double(std::clock() - start) / CLOCKS_PER_SEC;
    QVERIFY2(seconds < 1, qPrintable(QString::number(seconds)));
    QCOMPARE(dialog.findChild<QLabel *>("error")->text(), message);
}

void tst_UpdateError::openDownloadUrl_address_isParsedTolerantly_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QList<QByteArray>>("opened");
    using Opened = QList<QByteArray>;
    QTest::newRow("plain") << "http://127.0.0.1/get?a=1#b" << Opened{"http://127.0.0.1/get?a=1#b"};
    QTest::newRow("blank") << "http://127.0.0.1/a b" << Opened{"http://127.0.0.1/a%20b"};
    QTest::newRow("lone percent") << "http://127.0.0.1/5%" << Opened{"http://127.0.0.1/5%25"};
    QTest::newRow("blank at the end") << "http://127.0.0.1/a " << Opened{"http://127.0.0.1/a%20"};
    QTest::newRow("no scheme is not guessed") << "127.0.0.1/a" << Opened{};
}

void tst_UpdateError::openDownloadUrl_address_isParsedTolerantly()
{
    QFETCH(QString, address);
    const Browser browser;
    CUpdateError dialog;
    dialog.setUrl(address);
    dialog.openDownloadUrl();
    QTEST(browser.opened, "opened");
}

void tst_UpdateError::download_pressedTwice_opensTwiceAndStays()
{
    const Browser browser;
    CUpdateError dialog;
    dialog.setUrl(QStringLiteral("http://127.0.0.1/"));
    dialog.setError(QStringLiteral("t"), QStringLiteral("m"), true);
    dialog.show();
    QTest::mouseClick(Button(dialog, "download"), Qt::LeftButton);
    QTest::mouseClick(Button(dialog, "download"), Qt::LeftButton);
    QCOMPARE(browser.opened.size(), 2);
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.result(), 0);
    QTest::keyClick(&dialog, Qt::Key_Return);
    QCOMPARE(dialog.result(), 1);
}

void tst_UpdateError::openDownloadUrl_noBrowser_isIgnored()
{
    CUpdateError dialog;
    dialog.setUrl(QStringLiteral("nowhere://127.0.0.1/"));
    dialog.show();
    dialog.openDownloadUrl();
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.findChild<QLabel *>("error")->text(), QStringLiteral("网络错误：10012"));
}

void tst_UpdateError::exec_key_givesItsAnswer_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<int>("answer");
    QTest::newRow("Return") << Qt::Key_Return << 1;
    QTest::newRow("Escape") << Qt::Key_Escape << 0;
}

void tst_UpdateError::exec_key_givesItsAnswer()
{
    QFETCH(Qt::Key, key);
    CUpdateError dialog;
    dialog.setError(QStringLiteral("t"), QStringLiteral("m"), true);
    QTEST(ExecAndPress(dialog, key), "answer");
}

void tst_UpdateError::exec_finalError_ignoresReturn()
{
    CUpdateError dialog;
    dialog.setError(QStringLiteral("t"), QStringLiteral("m"), false);
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Return);
    QTest::keyClick(&dialog, Qt::Key_Space);
    QVERIFY(dialog.isVisible());
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), 0);
}

void tst_UpdateError::exec_again_showsTheNextError()
{
    CUpdateError dialog;
    dialog.setUrl(QStringLiteral("http://127.0.0.1/"));
    dialog.setError(QStringLiteral("t"), QStringLiteral("first"), false);
    QCOMPARE(ExecAndPress(dialog, Qt::Key_Escape), 0);
    dialog.setError(QStringLiteral("t"), QStringLiteral("second"), true);
    dialog.show();
    QVERIFY(Button(dialog, "retry")->isVisible());
    QVERIFY(Button(dialog, "download")->isVisible()); // the address has stayed
    dialog.hide();
    QCOMPARE(ExecAndPress(dialog, Qt::Key_Return), 1);
}

QTEST_MAIN(tst_UpdateError)
#include "tst_updateerror.moc"
