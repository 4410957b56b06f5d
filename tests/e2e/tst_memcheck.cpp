// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/Desktop.h"
#include "tests/support/HostBundle.h"
#include "tests/support/LogMarkers.h"
#include "tests/support/Memcheck.h"
#include "tests/support/ScriptedAnswers.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

#include <atomic>

namespace {

constexpr int PatienceMs = 120000; // sessions are many times slower under memcheck

const QStringList Console{QStringLiteral("console")};
const QString Notice = QStringLiteral("CUpdateNotice");
const QString Error = QStringLiteral("CUpdateError");
const QString Return = QStringLiteral("Return");
const QString Escape = QStringLiteral("Escape");
const QByteArray Newer =
    R"({"Version":3010000,"VersionString":"3.1.0","DownloadUrl":"https://example.com/"})";

} // namespace

/// One session of each kind under memcheck, which must find nothing.
class tst_Memcheck : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void session_ofEachKind_hasNoReports_data();
    void session_ofEachKind_hasNoReports();
    void offline_retriedAndGivenUp_hasNoReports();
    void second_session_hasNoReports_data();
    void second_session_hasNoReports();

private:
    void serve();
    std::unique_ptr<QProcess> start(const QStringList &arguments) const;
    bool answer(const QString &title, const QString &key);
    void end(QProcess &session, int exitCode, const char *marker);

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<HostBundle> m_bundle;
    std::unique_ptr<Memcheck> m_memcheck;
    ScriptedAnswers m_answers;
    std::atomic<bool> m_hold{false}; // whether the server lets a session wait
};

void tst_Memcheck::initTestCase()
{
    AdoptDescendants();
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->isUp());
}

void tst_Memcheck::init()
{
    m_hold = false;
    m_server.reset();
    m_bundle = std::make_unique<HostBundle>(QStringLiteral(UPDATER));
    m_memcheck = std::make_unique<Memcheck>();
}

void tst_Memcheck::serve()
{
    m_server = std::make_unique<ScriptedServer>(
        [this](ScriptedConnection &connection, const QByteArray &) {
            while (m_hold) {
                connection.pause(2);
            }
            connection.send(m_answers.next());
        },
        UPDATER_PORT);
}

std::unique_ptr<QProcess> tst_Memcheck::start(const QStringList &arguments) const
{
    const QStringList command =
        m_memcheck->wrapper() + QStringList{m_bundle->updaterPath()} + arguments;
    auto session = std::make_unique<ChildProcess>();
    m_bundle->prepare(*session, m_desktop->shownIn(m_bundle->environment()));
    session->start(command.constFirst(), command.mid(1));
    return session;
}

/// Waits for a window and presses a key in it.
bool tst_Memcheck::answer(const QString &title, const QString &key)
{
    if (!QTest::qWaitFor([&] { return m_desktop->hasWindow(title); }, PatienceMs)) {
        return false;
    }
    m_desktop->press(m_desktop->waitForWindow(title), key);
    return true;
}

/// Waits for the session's usual end, with nothing to report.
void tst_Memcheck::end(QProcess &session, int exitCode, const char *marker)
{
    QVERIFY(session.waitForFinished(PatienceMs));
    QVERIFY(m_memcheck->foundNothing());
    QCOMPARE(session.exitStatus(), QProcess::NormalExit);
    QCOMPARE(session.exitCode(), exitCode);
    QCOMPARE(m_bundle->log().last(), Marker(marker));
}

void tst_Memcheck::session_ofEachKind_hasNoReports_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("window"); // the one that is shown, by its title
    QTest::addColumn<QString>("key");    // what the user presses there
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("marker");

    const QByteArray newer = ScriptedServer::answer("200 OK", Newer);
    const QByteArray current = ScriptedServer::answer("200 OK", "{}");
    const QByteArray missing = ScriptedServer::answer("404 Not Found", "no");
    const QByteArray array = ScriptedServer::answer("200 OK", "[1]");
    const QStringList windowed;
    const QString none;
    QTest::newRow("restart") << QStringList{QStringLiteral("restart")} << QByteArray() << none
                             << none << 1 << QByteArray("13");
    QTest::newRow("fetch failed, console")
        << Console << missing << none << none << 0 << QByteArray("001");
    QTest::newRow("content, console") << Console << array << none << none << 0 << QByteArray("01");
    QTest::newRow("content, windowed")
        << windowed << array << Error << Escape << 1 << QByteArray("3");
    QTest::newRow("no update, console")
        << Console << current << none << none << 1 << QByteArray("3");
    QTest::newRow("no update, windowed")
        << windowed << current << none << none << 1 << QByteArray("3");
    for (const bool console : {true, false}) {
        const QStringList arguments = console ? Console : windowed;
        QTest::newRow(console ? "accepted, console" : "accepted, windowed")
            << arguments << newer << Notice << Return << 0 << QByteArray("1");
        QTest::newRow(console ? "declined, console" : "declined, windowed")
            << arguments << newer << Notice << Escape << 0 << QByteArray("1");
    }
}

void tst_Memcheck::session_ofEachKind_hasNoReports()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, answer);
    QFETCH(QString, window);
    QFETCH(QString, key);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, marker);
    m_answers = {answer};
    serve();
    const std::unique_ptr<QProcess> session = start(arguments);
    QVERIFY(window.isEmpty() || this->answer(window, key));
    end(*session, exitCode, marker.constData());
    QVERIFY(AwaitDescendants({m_desktop->processId()}));
}

void tst_Memcheck::offline_retriedAndGivenUp_hasNoReports()
{
    const std::unique_ptr<QProcess> session = start({});
    QVERIFY(answer(Error, Return));
    const auto attempts = [this] {
        return m_bundle->log().filter(QStringLiteral(" url = ")).size();
    };
    QVERIFY(QTest::qWaitFor([&] { return attempts() == 2; }, PatienceMs));
    QVERIFY(answer(Error, Escape));
    end(*session, 1, "3");
    QVERIFY(AwaitDescendants({m_desktop->processId()}));
    QCOMPARE(m_bundle->hostStarts(),
             QStringList(m_bundle->properHostStart(QStringLiteral("Host.exe"))));
}

void tst_Memcheck::second_session_hasNoReports_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("console") << Console;
    QTest::newRow("windowed") << QStringList();
}

void tst_Memcheck::second_session_hasNoReports()
{
    QFETCH(QStringList, arguments);
    m_answers = {ScriptedServer::answer("200 OK", "{}")};
    m_hold = true;
    serve();
    const auto first = m_bundle->start(Console, m_bundle->environment());
    QVERIFY(QTest::qWaitFor([this] { return m_server->requests().size() == 1; }, PatienceMs));

    const std::unique_ptr<QProcess> second = start(arguments);
    QVERIFY(!arguments.isEmpty() || answer(Error, Escape));
    end(*second, 1, "12");
    QVERIFY(AwaitDescendants({m_desktop->processId(), first->processId()}));
    QVERIFY(first->state() == QProcess::Running);
    m_hold = false;
    QVERIFY(first->waitForFinished());
}

QTEST_GUILESS_MAIN(tst_Memcheck)
#include "tst_memcheck.moc"
