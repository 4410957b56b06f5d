// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/Desktop.h"
#include "tests/support/HostBundle.h"
#include "tests/support/LogMarkers.h"
#include "tests/support/ScriptedAnswers.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

namespace {

const QString Notice = QStringLiteral("CUpdateNotice");
const QString Error = QStringLiteral("CUpdateError");
const QPoint LeftButton(400, 322);
const QPoint RightButton(500, 322);
const QPoint Picture(100, 100);

const QByteArray Newer =
    R"({"Version":3010000,"VersionString":"3.1.0","DownloadUrl":"https://example.com/"})";

} // namespace

/// The windows of the real program, with a user at mouse and keyboard.
class tst_Windows : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void notice_clicks_decide_data();
    void notice_clicks_decide();
    void notice_forced_hasNoSkipButton();
    void error_retryThreeTimes_thenSucceeds();
    void error_retryThreeTimes_thenRefused();
    void second_session_isRefusedInAWindow();
    void error_keysAndClicks_retry_data();
    void error_keysAndClicks_retry();
    void dialog_size_followsTheScreensDensity_data();
    void dialog_size_followsTheScreensDensity();
    void browser_missing_sessionEndsAllTheSame();

private:
    std::unique_ptr<QProcess> start();

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<HostBundle> m_bundle;
    ScriptedAnswers m_answers;
    std::atomic<int> m_failures{0}; // this many requests fail before one is answered
};

void tst_Windows::initTestCase()
{
    AdoptDescendants();
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->isUp());
    m_server = std::make_unique<ScriptedServer>(
        [this](ScriptedConnection &connection, const QByteArray &) {
            connection.send(m_failures-- > 0 ? ScriptedServer::answer("503 Busy", "")
                                             : m_answers.next());
        },
        UPDATER_PORT);
}

void tst_Windows::init()
{
    m_answers = {ScriptedServer::answer("200 OK", Newer)};
    m_failures = 0;
    m_bundle = std::make_unique<HostBundle>(QStringLiteral(UPDATER));
}

std::unique_ptr<QProcess> tst_Windows::start()
{
    return m_bundle->start({}, m_desktop->shownIn(m_bundle->environment()));
}

void tst_Windows::notice_clicks_decide_data()
{
    QTest::addColumn<QPoint>("position");
    QTest::addColumn<QStringList>("addresses");
    QTest::newRow("update") << LeftButton << QStringList{QStringLiteral("https://example.com/")};
    QTest::newRow("skip") << RightButton << QStringList();
}

void tst_Windows::notice_clicks_decide()
{
    QFETCH(QPoint, position);
    QFETCH(QStringList, addresses);
    const std::unique_ptr<QProcess> session = start();
    const QString window = m_desktop->waitForWindow(Notice);
    QVERIFY(!window.isEmpty());
    QCOMPARE(m_desktop->geometry(window).size(), QSize(556, 341));
    m_desktop->click(window, Picture); // does nothing
    QVERIFY(m_desktop->hasWindow(Notice));
    m_desktop->click(window, position);
    QVERIFY(session->waitForFinished());
    QVERIFY(AwaitDescendants({m_desktop->processId()}));
    QCOMPARE(session->exitCode(), 0);
    QCOMPARE(m_bundle->browserAddresses(), addresses);
    QCOMPARE(m_bundle->hostStarts(), QStringList());
}

void tst_Windows::notice_forced_hasNoSkipButton()
{
    m_answers = {ScriptedServer::answer(
        "200 OK", R"({"Version":3010000,"MinVersion":3000000,"DownloadUrl":"https://x/"})")};
    const std::unique_ptr<QProcess> session = start();
    const QString window = m_desktop->waitForWindow(Notice);
    QVERIFY(!window.isEmpty());
    m_desktop->click(window, RightButton);
    // If the click had been an answer, this key would come too late.
    m_desktop->press(window, QStringLiteral("Return"));
    QVERIFY(session->waitForFinished());
    QVERIFY(AwaitDescendants({m_desktop->processId()}));
    QCOMPARE(session->exitCode(), 0);
    QCOMPARE(m_bundle->browserAddresses(), QStringList{QStringLiteral("https://x/")});
}

void tst_Windows::error_retryThreeTimes_thenRefused()
{
    m_failures = 4;
    const std::unique_ptr<QProcess> session = start();
    for (int i = 1; i <= 4; ++i) {
        const QString window = m_desktop->waitForWindow(Error);
        QVERIFY(!window.isEmpty());
        QTRY_COMPARE(m_bundle->log().filter(QStringLiteral(" url = ")).size(), i);
        m_desktop->press(window, i < 4 ? QStringLiteral("Return") : QStringLiteral("Escape"));
        if (i < 4) {
            QTRY_COMPARE(m_bundle->log().filter(QStringLiteral(" url = ")).size(), i + 1);
        }
    }
    QVERIFY(session->waitForFinished());
    QVERIFY(AwaitDescendants({m_desktop->processId()}));
    QCOMPARE(session->exitCode(), 1);
    QCOMPARE(m_bundle->log().last(), Marker("3"));
    QCOMPARE(m_bundle->hostStarts(),
             QStringList(m_bundle->properHostStart(QStringLiteral("Host.exe"))));
}

void tst_Windows::second_session_isRefusedInAWindow()
{
    const std::unique_ptr<QProcess> first = start();
    const QString notice = m_desktop->waitForWindow(Notice);
    QVERIFY(!notice.isEmpty());
    const QStringList logBefore = m_bundle->log();

    const std::unique_ptr<QProcess> second = start();
    const QString error = m_desktop->waitForWindow(Error);
    QVERIFY(!error.isEmpty());
    m_desktop->press(error, QStringLiteral("Escape"));
    QVERIFY(second->waitForFinished());
    QVERIFY(AwaitDescendants({m_desktop->processId(), first->processId()}));
    QCOMPARE(second->exitCode(), 1);
    QCOMPARE(second->readAllStandardOutput(), QByteArray());
    QCOMPARE(m_bundle->log().mid(logBefore.size()),
             (QStringList{StartMarker, QStringLiteral("D command = "), Marker("12")}));
    QCOMPARE(m_bundle->hostStarts(),
             QStringList(m_bundle->properHostStart(QStringLiteral("Host.exe"))));

    m_desktop->press(notice, QStringLiteral("Escape"));
    QVERIFY(first->waitForFinished());
    QCOMPARE(first->exitCode(), 0);
}

void tst_Windows::error_retryThreeTimes_thenSucceeds()
{
    m_failures = 4;
    const int before = m_server->requests().size();
    const std::unique_ptr<QProcess> session = start();
    for (int i = 1; i <= 4; ++i) {
        const QString window = m_desktop->waitForWindow(Error);
        QVERIFY(!window.isEmpty());
        QCOMPARE(m_server->requests().size() - before, i);
        const int connections = m_server->connections();
        m_desktop->click(window, LeftButton);
        QTRY_COMPARE(m_server->requests().size() - before, i + 1);
        QCOMPARE(m_server->connections(), connections + 1); // although the last one is kept open
    }
    const QString notice = m_desktop->waitForWindow(Notice);
    QVERIFY(!notice.isEmpty());
    m_desktop->click(notice, RightButton);
    QVERIFY(session->waitForFinished());
    QCOMPARE(session->exitCode(), 0);
}

void tst_Windows::error_keysAndClicks_retry_data()
{
    QTest::addColumn<QString>("key");
    QTest::newRow("Return") << QStringLiteral("Return");
    QTest::newRow("Enter on the keypad") << QStringLiteral("KP_Enter");
    QTest::newRow("blank on the button that has the focus") << QStringLiteral("space");
}

void tst_Windows::error_keysAndClicks_retry()
{
    QFETCH(QString, key);
    m_failures = 1;
    const std::unique_ptr<QProcess> session = start();
    m_desktop->press(m_desktop->waitForWindow(Error), key);
    const QString notice = m_desktop->waitForWindow(Notice);
    QVERIFY(!notice.isEmpty());
    m_desktop->press(notice, QStringLiteral("Escape"));
    QVERIFY(session->waitForFinished());
    QCOMPARE(session->exitCode(), 0);
}

void tst_Windows::dialog_size_followsTheScreensDensity_data()
{
    QTest::addColumn<int>("dpi");
    QTest::addColumn<QSize>("size");
    QTest::newRow("96") << 96 << QSize(556, 341);
    QTest::newRow("192") << 192 << QSize(1112, 682);
}

void tst_Windows::dialog_size_followsTheScreensDensity()
{
    QFETCH(int, dpi);
    QFETCH(QSize, size);
    Desktop desktop(dpi);
    QVERIFY(desktop.isUp());
    const auto session = m_bundle->start({}, desktop.shownIn(m_bundle->environment()));
    const QString window = desktop.waitForWindow(Notice);
    QVERIFY(!window.isEmpty());
    QCOMPARE(desktop.geometry(window).size(), size);
    desktop.press(window, QStringLiteral("Escape"));
    QVERIFY(session->waitForFinished());
}

void tst_Windows::browser_missing_sessionEndsAllTheSame()
{
    QVERIFY(QFile::remove(m_bundle->path(QStringLiteral("bin/xdg-open"))));
    QProcessEnvironment environment = m_desktop->shownIn(m_bundle->environment());
    environment.insert(QStringLiteral("PATH"), m_bundle->path(QStringLiteral("bin")));
    const auto session = m_bundle->start({}, environment);
    const QString window = m_desktop->waitForWindow(Notice);
    QVERIFY(!window.isEmpty());
    m_desktop->press(window, QStringLiteral("Return"));
    QVERIFY(session->waitForFinished());
    QCOMPARE(session->exitStatus(), QProcess::NormalExit);
    QCOMPARE(session->exitCode(), 0);
    QCOMPARE(m_bundle->log().last(), Marker("1"));
}

QTEST_GUILESS_MAIN(tst_Windows)
#include "tst_windows.moc"
