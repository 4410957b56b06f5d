// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/e2e/MeasuredSession.h"
#include "tests/support/Descendants.h"
#include "tests/support/Desktop.h"
#include "tests/support/LogMarkers.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <atomic>
#include <vector>

namespace {

constexpr int QuickMs = 14000;         // before the time-out
constexpr int ShortestLimitMs = 14000; // of a coarse timer of 15 seconds
constexpr int LongestLimitMs = 25000;
constexpr int DeadlineMs = 30000;
constexpr int MostRequests = 4;        // the network layer repeats a request if nothing has arrived
constexpr double AllowedMebibytes = 8; // above those of a good answer

const QString Updater = QStringLiteral(UPDATER);

/// A session that waits for its response.
struct Waiting {
    FaultyAnswer answer;
    std::unique_ptr<MeasuredSession> session;
};

} // namespace

/// How the real program's session ends, and how much memory it takes, if the server or the network
/// fails.
class tst_Faults : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void answer_faulty_endsByWhatArrives_data();
    void answer_faulty_endsByWhatArrives();
    void answer_withoutEnd_isWaitedForAsLongAsTheLimit_data();
    void answer_withoutEnd_isWaitedForAsLongAsTheLimit();
    void server_killedWhileTheSessionWaits_isANetworkFailure();
    void server_killedAndStartedAgain_servesTheRetry();

private:
    void serve(const ScriptedServer::Handler &handler);
    bool tookNormalMemory(const MeasuredSession &session);

    std::unique_ptr<ScriptedServer> m_server;
    std::vector<Waiting> m_waiting;
    std::atomic<std::size_t> m_next{0}; // of those that wait, the one that asks next
    double m_plainMebibytes = 0;        // of the first row
};

void tst_Faults::initTestCase()
{
    AdoptDescendants();
}

/// Instead of what was served before.
void tst_Faults::serve(const ScriptedServer::Handler &handler)
{
    m_server.reset();
    m_server = std::make_unique<ScriptedServer>(handler, UPDATER_PORT);
}

bool tst_Faults::tookNormalMemory(const MeasuredSession &session)
{
    if (m_plainMebibytes == 0) {
        m_plainMebibytes = session.peakMebibytes();
    }
    return !PeakMemory::isComparable() ||
           session.peakMebibytes() < m_plainMebibytes + AllowedMebibytes;
}

void tst_Faults::answer_faulty_endsByWhatArrives_data()
{
    QTest::addColumn<FaultyAnswer>("answer");
    for (const FaultyAnswer &answer : FaultyAnswers(MeasuredDescription())) {
        if (!answer.waits) {
            QTest::newRow(qPrintable(answer.name)) << answer;
        }
    }
}

void tst_Faults::answer_faulty_endsByWhatArrives()
{
    QFETCH(FaultyAnswer, answer);
    serve(
        [answer](ScriptedConnection &connection, const QByteArray &) { Give(answer, connection); });
    MeasuredSession session(Updater);

    const SessionEnd expected = answer.arrives.isNull()
                                    ? FetchFailed(answer.error + QStringLiteral(",status=0"))
                                    : Arrived(answer.arrives);
    QCOMPARE(session.end(DeadlineMs).text(), expected.text());
    session.report(answer.name);
    QVERIFY(session.lifetime() < QuickMs);
    QVERIFY(m_server->requests().size() <= MostRequests);
    QCOMPARE(session.leftFiles(), QStringList());
    QVERIFY(tookNormalMemory(session));
}

/// Lets them all wait at the same time. Each gets its answer when its request comes.
void tst_Faults::answer_withoutEnd_isWaitedForAsLongAsTheLimit_data()
{
    QTest::addColumn<int>("index");
    for (const FaultyAnswer &answer : FaultyAnswers(MeasuredDescription())) {
        if (answer.waits) {
            QTest::newRow(qPrintable(answer.name)) << static_cast<int>(m_waiting.size());
            m_waiting.push_back({answer, nullptr});
        }
    }
    serve([this](ScriptedConnection &connection, const QByteArray &) {
        Give(m_waiting.at(m_next++).answer, connection);
    });
    for (Waiting &waiting : m_waiting) {
        const int before = m_server->requests().size();
        waiting.session = std::make_unique<MeasuredSession>(Updater);
        QTRY_COMPARE(m_server->requests().size(), before + 1);
    }
}

void tst_Faults::answer_withoutEnd_isWaitedForAsLongAsTheLimit()
{
    QFETCH(int, index);
    const Waiting &waiting = m_waiting.at(static_cast<std::size_t>(index));
    const FaultyAnswer &answer = waiting.answer;
    const SessionEnd end = waiting.session->end(DeadlineMs);
    waiting.session->report(answer.name);

    QVERIFY(waiting.session->lifetime() > ShortestLimitMs);
    QVERIFY(waiting.session->lifetime() < LongestLimitMs);
    QByteArray arrives = answer.arrives;
    if (answer.quick >= 0 && !arrives.isNull()) { // as much as arrived in time
        const QString begin = Arrived("").message;
        arrives.truncate(end.message.size() - begin.size());
        QVERIFY2(!arrives.isEmpty() && arrives.size() <= 16, qPrintable(end.text()));
    }
    const SessionEnd expected =
        arrives.isNull() ? FetchFailed(QStringLiteral("网络超时,status=0")) : Arrived(arrives);
    QCOMPARE(end.text(), expected.text());
    QCOMPARE(waiting.session->leftFiles(), QStringList());
    QVERIFY(tookNormalMemory(*waiting.session));
}

/// A killed process's sockets are closed in the order in which they were made.
void tst_Faults::server_killedWhileTheSessionWaits_isANetworkFailure()
{
    m_server.reset();
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, UPDATER_PORT));
    MeasuredSession session(Updater);
    QTRY_VERIFY(server.hasPendingConnections());
    QTcpSocket *connection = server.nextPendingConnection();
    QTRY_VERIFY(connection->peek(4096).endsWith("\r\n\r\n"));
    server.close();
    connection->abort();

    QCOMPARE(session.end(DeadlineMs).text(),
             FetchFailed(QStringLiteral("Connection refused,status=0")).text());
    session.report(QStringLiteral("server killed while it waits"));
    QVERIFY(session.lifetime() < QuickMs);
    QCOMPARE(session.leftFiles(), QStringList());
}

void tst_Faults::server_killedAndStartedAgain_servesTheRetry()
{
    Desktop desktop;
    QVERIFY(desktop.isUp());
    serve([](ScriptedConnection &connection, const QByteArray &) { connection.hang(); });
    const HostBundle bundle(Updater);
    const PeakMemory memory;
    const auto session = bundle.start({}, desktop.shownIn(bundle.environment()), memory.wrapper());
    QTRY_COMPARE(m_server->requests().size(), 1);
    m_server.reset();
    QString window = desktop.waitForWindow(QStringLiteral("CUpdateError"));
    QVERIFY(!window.isEmpty());
    desktop.press(window, QStringLiteral("Return")); // the server is still away
    QTRY_COMPARE(bundle.log().filter(QStringLiteral(" url = ")).size(), 2);
    window = desktop.waitForWindow(QStringLiteral("CUpdateError"));
    QVERIFY(!window.isEmpty());

    serve(ScriptedServer::always(ScriptedServer::answer("200 OK", R"({"Version":3000001})")));
    desktop.press(window, QStringLiteral("Return"));
    window = desktop.waitForWindow(QStringLiteral("CUpdateNotice"));
    QVERIFY(!window.isEmpty());
    desktop.press(window, QStringLiteral("Escape"));
    QVERIFY(session->waitForFinished());
    QVERIFY(AwaitDescendants({desktop.processId()}));
    QCOMPARE(session->exitCode(), 0);
    QCOMPARE(bundle.log().last(), Marker("1"));
    QCOMPARE(bundle.hostStarts(), QStringList());
    qInfo("session, server killed and started again: %.1f MiB", memory.mebibytes());
}

QTEST_GUILESS_MAIN(tst_Faults)
#include "tst_faults.moc"
