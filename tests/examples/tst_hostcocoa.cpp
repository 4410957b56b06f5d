// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/HostBundle.h"
#include "tests/support/ScriptedAnswers.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

/// The sample host's check in Objective-C++, run against GNUstep's Foundation.
class tst_HostCocoa : public QObject {
    Q_OBJECT

private slots:
    void init() { m_bundle = std::make_unique<HostBundle>(QStringLiteral(UPDATER)); }

    void check_realUpdater_isReported();
    void check_script_isReported_data();
    void check_script_isReported();
    void check_updaterMissing_isReported();
    void check_afterACheck_isAnotherOne();

private:
    QByteArray run(int times = 1) const;

    std::unique_ptr<HostBundle> m_bundle;
};

QByteArray tst_HostCocoa::run(int times) const
{
    ChildProcess driver;
    m_bundle->prepare(driver, m_bundle->environment());
    driver.start(QStringLiteral(COCOA_DRIVER), {m_bundle->updaterPath(), QString::number(times)});
    if (!driver.waitForFinished() || driver.exitStatus() != QProcess::NormalExit ||
        driver.exitCode() != 0) {
        return "did not end well: " +
               ReadFile(m_bundle->path(QStringLiteral("records/stderr"))).right(500);
    }
    return driver.readAllStandardOutput();
}

void tst_HostCocoa::check_realUpdater_isReported()
{
    ScriptedAnswers answers;
    answers = {ScriptedServer::answer("200 OK", R"({"Version":3000000,"VersionString":"3.0.0"})")};
    ScriptedServer server([&answers](ScriptedConnection &connection,
                                     const QByteArray &) { connection.send(answers.next()); },
                          UPDATER_PORT);
    QCOMPARE(run(), QByteArray("update=0 success=1 running=0 "
                               "message=current version:3.0.0, newest version:3.0.0\n"));
    QCOMPARE(server.requests().size(), 1);
}

void tst_HostCocoa::check_script_isReported_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("told");
    QTest::newRow("accepted") << QByteArray(
                                     R"(printf '{"errormsg":"m","success":true,"update":true}')")
                              << QByteArray("update=1 success=1 running=0 message=m\n");
    QTest::newRow("in two pieces")
        << QByteArray(R"(printf '{"errormsg":"m",'; sleep 0.2; printf '"success":true}')")
        << QByteArray("update=0 success=1 running=0 message=m\n");
    QTest::newRow("nothing") << QByteArray("exit 1")
                             << QByteArray("update=0 success=0 running=0 "
                                           "message=The updater reported nothing.\n");
    QTest::newRow("a list") << QByteArray("printf '[1]'")
                            << QByteArray("update=0 success=0 running=0 "
                                          "message=The updater reported nothing.\n");
    QTest::newRow("the word") << QByteArray(R"(printf '{"errormsg":"%s"}' "$*")")
                              << QByteArray("update=0 success=0 running=0 message=console\n");
}

void tst_HostCocoa::check_script_isReported()
{
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, told);
    WriteFile(m_bundle->updaterPath(), "#!/bin/sh\n" + script + "\n");
    QCOMPARE(run(), told);
}

void tst_HostCocoa::check_updaterMissing_isReported()
{
    QVERIFY(QFile::remove(m_bundle->updaterPath()));
    const QByteArray told = run();
    QVERIFY2(told.startsWith("update=0 success=0 running=0 message="), told.constData());
    QVERIFY2(!told.contains("(none)"), told.constData());
}

void tst_HostCocoa::check_afterACheck_isAnotherOne()
{
    const QString count = m_bundle->path(QStringLiteral("records/count"));
    WriteFile(m_bundle->updaterPath(),
              "#!/bin/sh\necho x >>'" + count.toUtf8() + "'\nprintf '{\"success\":true}'\n");
    QCOMPARE(run(3).count("success=1"), 3);
    QCOMPARE(ReadFile(count), QByteArray("x\nx\nx\n"));
}

QTEST_GUILESS_MAIN(tst_HostCocoa)
#include "tst_hostcocoa.moc"
