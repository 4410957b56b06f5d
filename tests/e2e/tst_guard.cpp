// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/HostBundle.h"
#include "tests/support/LogMarkers.h"
#include "tests/support/Onlooker.h"
#include "tests/support/ScriptedAnswers.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

#include <atomic>

namespace {

const QByteArray Running = R"({"errormsg":"升级程序已运行","success":false,"update":false})";
const QByteArray NoUpdate =
    R"({"errormsg":"current version:3.0.0, newest version:","success":true,"update":false})";
const QStringList Console{QStringLiteral("console")};

QByteArray End(QProcess &session)
{
    return session.waitForFinished() && session.exitStatus() == QProcess::NormalExit
               ? session.readAllStandardOutput()
               : QByteArray("the session did not end well");
}

} // namespace

/// One session at a time, by the real program.
class tst_Guard : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void second_inConsole_reportsTheRunningSessionsRecord();
    void second_windowed_startsTheHost();
    void second_otherFolder_isNotExcluded();
    void restart_whileRunning_leavesSegmentAlone();
    void record_afterEveryOutcome_isItsRow_data();
    void record_afterEveryOutcome_isItsRow();
    void killed_session_refusesExactlyTheNextOne();
    void pairs_startedAtOnce_endByTheTable();

private:
    std::unique_ptr<QProcess> startHeld(const QStringList &arguments = Console);
    bool awaitRequests(int count) const;

    std::unique_ptr<HostBundle> m_bundle;
    std::unique_ptr<ScriptedServer> m_server;
    ScriptedAnswers m_answers;
    std::atomic<bool> m_hold{false};
};

void tst_Guard::initTestCase()
{
    AdoptDescendants();
}

void tst_Guard::init()
{
    m_answers = {ScriptedServer::answer("200 OK", "{}")};
    m_server = std::make_unique<ScriptedServer>(
        [this](ScriptedConnection &connection, const QByteArray &) {
            while (m_hold) {
                connection.pause(2);
            }
            connection.send(m_answers.next());
        },
        UPDATER_PORT);
    m_bundle = std::make_unique<HostBundle>(QStringLiteral(UPDATER));
}

void tst_Guard::cleanup()
{
    m_hold = false;
    m_server.reset();
    // Whatever a test did, nothing of the segment is left.
    Onlooker onlooker(*m_bundle);
    QVERIFY(!onlooker.attach());
}

std::unique_ptr<QProcess> tst_Guard::startHeld(const QStringList &arguments)
{
    const int before = m_server->requests().size();
    m_hold = true;
    std::unique_ptr<QProcess> session = m_bundle->start(arguments, m_bundle->environment());
    return awaitRequests(before + 1) ? std::move(session) : nullptr;
}

bool tst_Guard::awaitRequests(int count) const
{
    return QTest::qWaitFor([&] { return m_server->requests().size() >= count; }, 10000);
}

void tst_Guard::second_inConsole_reportsTheRunningSessionsRecord()
{
    const std::unique_ptr<QProcess> first = startHeld();
    QVERIFY(first);
    Onlooker onlooker(*m_bundle);
    QVERIFY(onlooker.attach());
    QCOMPARE(onlooker.record(), QByteArray("\0\0", 2));

    const auto second = m_bundle->start(Console, m_bundle->environment());
    QCOMPARE(End(*second), Running);
    QCOMPARE(second->exitCode(), 1);
    QCOMPARE(m_bundle->log().last(), Marker("12"));
    QCOMPARE(onlooker.record(), QByteArray("\0\0", 2));
    QCOMPARE(m_server->requests().size(), 1); // it did not ask

    m_hold = false;
    QCOMPARE(End(*first), NoUpdate);
    QCOMPARE(onlooker.record(), QByteArray("\1\0", 2));

    // The onlooker keeps the segment: a further session finds the last status.
    const auto third = m_bundle->start(Console, m_bundle->environment());
    QCOMPARE(End(*third), QByteArray(Running).replace("\"success\":false", "\"success\":true"));
    QCOMPARE(third->exitCode(), 1);
    QCOMPARE(onlooker.record(), QByteArray("\1\0", 2));
    onlooker.detach();
    QVERIFY(AwaitDescendants({}));
    QCOMPARE(m_bundle->hostStarts(), QStringList());
}

void tst_Guard::second_windowed_startsTheHost()
{
    const std::unique_ptr<QProcess> first = startHeld();
    QVERIFY(first);
    QProcessEnvironment environment = m_bundle->environment();
    const QString record = m_bundle->path(QStringLiteral("records/dialogs"));
    environment.insert(QStringLiteral("PUPPET_RECORD"), record);

    // The one with a built-in user, in the same place as the running one.
    const QString running = m_bundle->updaterPath() + QStringLiteral(".running");
    QVERIFY(QFile::rename(m_bundle->updaterPath(), running));
    QVERIFY(QFile::copy(QStringLiteral(SESSION_PUPPET), m_bundle->updaterPath()));
    const auto second = m_bundle->start({}, environment);
    QCOMPARE(End(*second), QByteArray());
    QCOMPARE(second->exitCode(), 1);
    QVERIFY(AwaitDescendants({first->processId()}));
    QCOMPARE(ReadFile(record),
             QByteArray("CUpdateError|label=启动|error=升级程序已运行\n")); // no button
    QCOMPARE(m_bundle->hostStarts(),
             QStringList(m_bundle->properHostStart(QStringLiteral("Host.exe"))));
    QCOMPARE(m_bundle->log().last(), Marker("12"));

    m_hold = false;
    QCOMPARE(End(*first), NoUpdate);
}

void tst_Guard::second_otherFolder_isNotExcluded()
{
    const std::unique_ptr<QProcess> first = startHeld();
    QVERIFY(first);
    const HostBundle other(QStringLiteral(UPDATER));
    const auto second = other.start(Console, other.environment());
    QVERIFY(awaitRequests(2));
    m_hold = false;
    QCOMPARE(End(*second), NoUpdate);
    QCOMPARE(End(*first), NoUpdate);
}

void tst_Guard::restart_whileRunning_leavesSegmentAlone()
{
    const std::unique_ptr<QProcess> first = startHeld();
    QVERIFY(first);
    const auto restart = m_bundle->start({QStringLiteral("restart")}, m_bundle->environment());
    QCOMPARE(End(*restart), QByteArray());
    QCOMPARE(restart->exitCode(), 1);
    QCOMPARE(m_bundle->log().last(), Marker("13"));
    QVERIFY(AwaitDescendants({first->processId()}));
    QCOMPARE(m_bundle->hostStarts().size(), 1);
    QCOMPARE(m_server->requests().size(), 1);

    Onlooker onlooker(*m_bundle);
    QVERIFY(onlooker.attach());
    QCOMPARE(onlooker.record(), QByteArray("\0\0", 2));
    onlooker.detach();
    m_hold = false;
    QCOMPARE(End(*first), NoUpdate);
}

void tst_Guard::record_afterEveryOutcome_isItsRow_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("record");
    QTest::addColumn<int>("exitCode");
    const QByteArray zero("\0\0", 2);
    QTest::newRow("5 fetch failed") << ScriptedServer::answer("404 No", "") << zero << 0;
    QTest::newRow("7 content not valid") << ScriptedServer::answer("200 OK", "[]") << zero << 0;
    QTest::newRow("9 no update needed")
        << ScriptedServer::answer("200 OK", "{}") << QByteArray("\1\0", 2) << 1;
}

void tst_Guard::record_afterEveryOutcome_isItsRow()
{
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, record);
    QFETCH(int, exitCode);
    m_answers = {answer};
    const std::unique_ptr<QProcess> session = startHeld();
    QVERIFY(session);
    Onlooker onlooker(*m_bundle);
    QVERIFY(onlooker.attach());
    m_hold = false;
    QVERIFY(session->waitForFinished());
    QCOMPARE(session->exitCode(), exitCode);
    QCOMPARE(onlooker.record(), record);
}

void tst_Guard::killed_session_refusesExactlyTheNextOne()
{
    const std::unique_ptr<QProcess> killed = startHeld();
    QVERIFY(killed);
    killed->kill();
    QVERIFY(killed->waitForFinished());
    m_hold = false;

    // The dead session's segment blocks the next session, whose exit removes it.
    const auto next = m_bundle->start(Console, m_bundle->environment());
    QCOMPARE(End(*next), Running);
    QCOMPARE(next->exitCode(), 1);
    const auto afterNext = m_bundle->start(Console, m_bundle->environment());
    QCOMPARE(End(*afterNext), NoUpdate);
    QCOMPARE(afterNext->exitCode(), 1);
}

void tst_Guard::pairs_startedAtOnce_endByTheTable()
{
    for (int i = 0; i < 50; ++i) {
        const auto one = m_bundle->start(Console, m_bundle->environment());
        const auto two = m_bundle->start(Console, m_bundle->environment());
        const QList<QByteArray> outputs{End(*one), End(*two)};
        for (const QByteArray &output : outputs) {
            QVERIFY2(output == NoUpdate || output == Running ||
                         output ==
                             QByteArray(Running).replace("\"success\":false", "\"success\":true"),
                     output.constData());
        }
        // A refusal needs an earlier session.
        QVERIFY2(outputs.contains(NoUpdate), "both were refused");
        QCOMPARE(one->exitCode(), 1);
        QCOMPARE(two->exitCode(), 1);
    }
}

QTEST_GUILESS_MAIN(tst_Guard)
#include "tst_guard.moc"
