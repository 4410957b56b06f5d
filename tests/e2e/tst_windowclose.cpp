// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/HostBundle.h"
#include "tests/support/LogMarkers.h"
#include "tests/support/SessionTest.h"

#include <QtTest>

/// Windows that the window manager closes: the user has not chosen what the dialog offers.
class tst_WindowClose : public SessionTest {
    Q_OBJECT

public:
    tst_WindowClose() : SessionTest(UPDATER_PORT) {}

private slots:
    void dialog_closedByTheManager_countsAsRefused_data();
    void dialog_closedByTheManager_countsAsRefused();
};

void tst_WindowClose::dialog_closedByTheManager_countsAsRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("window");
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QString>("marker");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<bool>("hostStarted");
    const QString notice = QStringLiteral("CUpdateNotice");
    const QString error = QStringLiteral("CUpdateError");
    const QByteArray newer = ScriptedServer::answer(
        "200 OK", R"({"Version":9000000,"VersionString":"9","DownloadUrl":"https://x/"})");
    const QByteArray forced = ScriptedServer::answer(
        "200 OK", R"({"Version":9000000,"MinVersion":9000000,"DownloadUrl":"https://x/"})");
    const QByteArray report = R"({"errormsg":"current version:3.0.0, newest version:9",)"
                              R"("success":true,"update":false})";
    QTest::newRow("6 retry after a failed fetch")
        << QStringList() << ScriptedServer::answer("404 No", "") << error << QByteArray()
        << QStringLiteral("3") << 1 << true;
    QTest::newRow("8 retry after content that is not valid")
        << QStringList() << ScriptedServer::answer("200 OK", "[]") << error << QByteArray()
        << QStringLiteral("3") << 1 << true;
    QTest::newRow("11 notice") << QStringList() << newer << notice << QByteArray()
                               << QStringLiteral("1") << 0 << false;
    QTest::newRow("11 notice that is forced")
        << QStringList() << forced << notice << QByteArray() << QStringLiteral("1") << 0 << false;
    QTest::newRow("11 notice, console") << QStringList{QStringLiteral("console")} << newer << notice
                                        << report << QStringLiteral("1") << 0 << false;
}

void tst_WindowClose::dialog_closedByTheManager_countsAsRefused()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, answer);
    QFETCH(QString, window);
    QFETCH(QByteArray, output);
    QFETCH(QString, marker);
    QFETCH(int, exitCode);
    QFETCH(bool, hostStarted);
    m_answers = {answer};
    const int before = m_server->requests().size();
    const HostBundle bundle(QStringLiteral(UPDATER));
    const auto session = bundle.start(arguments, m_desktop->shownIn(bundle.environment()));
    const QString id = m_desktop->waitForWindow(window);
    QVERIFY(!id.isEmpty());
    QVERIFY(m_desktop->close(id));
    QVERIFY(session->waitForFinished());
    QVERIFY(AwaitDescendants({m_desktop->processId()}));

    QCOMPARE(session->exitStatus(), QProcess::NormalExit);
    QCOMPARE(session->exitCode(), exitCode);
    QCOMPARE(session->readAllStandardOutput(), output);
    QCOMPARE(bundle.log().last(), Marker(marker));
    QCOMPARE(bundle.hostStarts().size(), hostStarted ? 1 : 0);
    QCOMPARE(bundle.browserAddresses(), QStringList());
    QCOMPARE(m_server->requests().size() - before, 1);
}

QTEST_GUILESS_MAIN(tst_WindowClose)
#include "tst_windowclose.moc"
