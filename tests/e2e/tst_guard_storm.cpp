// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/HostBundle.h"
#include "tests/support/Onlooker.h"
#include "tests/support/OwnNamespaces.h"
#include "tests/support/ReadySession.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/SystemVIpc.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QRandomGenerator>
#include <QSystemSemaphore>
#include <QtTest>

#include <array>
#include <atomic>
#include <sys/sem.h>
#include <unistd.h>

namespace {

const QByteArray Running = R"({"errormsg":"升级程序已运行","success":false,"update":false})";
const QByteArray RunningAndDone = R"({"errormsg":"升级程序已运行","success":true,"update":false})";
const QByteArray NoUpdate =
    R"({"errormsg":"current version:3.0.0, newest version:","success":true,"update":false})";

bool HasOwnIpc = false;
int HalfMade = 0; // semaphores that had to be removed

int NumberFromEnvironment(const char *name, int otherwise)
{
    return qEnvironmentVariableIsSet(name) ? qEnvironmentVariableIntValue(name) : otherwise;
}

/// In nanoseconds; only differences have a meaning.
qint64 Now()
{
    return QDeadlineTimer::current().deadlineNSecs();
}

void SleepUntil(qint64 moment)
{
    while (Now() < moment) {
        (void)::usleep(20);
    }
}

bool IsRefusal(const QByteArray &output)
{
    return output == Running || output == RunningAndDone;
}

/// What a session printed, or what was wrong with its end.
QByteArray End(QProcess &session)
{
    if (!session.waitForFinished(5000)) {
        HalfMade += HasOwnIpc ? RemoveHalfMadeSemaphores() : 0;
        if (!session.waitForFinished(20000)) {
            return "the session does not end";
        }
    }
    if (session.exitStatus() != QProcess::NormalExit || session.exitCode() != 1) {
        return "the session crashed or gave another exit code";
    }
    return session.readAllStandardOutput();
}

void Kill(QProcess &session)
{
    session.kill(); // does nothing if it has already ended
    QVERIFY(session.state() == QProcess::NotRunning || session.waitForFinished(10000));
}

} // namespace

/// Sessions of one installation that start together or are killed at random moments. UPDATER_PAIRS
/// and UPDATER_KILLS set how many, UPDATER_SEED repeats the moments of a run.
class tst_GuardStorm : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void pairs_startedAtOnce_areNotBothRefused();
    void killed_atAnyMoment_refusesAtMostTheNextOne_data();
    void killed_atAnyMoment_refusesAtMostTheNextOne();
    void killed_twoWhileAThirdStarts_refuseAtMostOneMore_data();
    void killed_twoWhileAThirdStarts_refuseAtMostOneMore();
    void semaphore_leftHalfMade_stopsSessionsUntilItIsRemoved();
    void cleanupTestCase();

private:
    /// 1 when \a session runs the updater: not before it has begun, nor after its end.
    int runsTheProgram(const QProcess &session) const
    {
        const QString program = QStringLiteral("/proc/%1/exe").arg(session.processId());
        return QFile::symLinkTarget(program) == m_bundle->updaterPath() ? 1 : 0;
    }
    QByteArray live();
    void goOn();
    qint64 randomUpTo(qint64 nanoseconds);

    std::unique_ptr<HostBundle> m_bundle;
    std::unique_ptr<ScriptedServer> m_server;
    QRandomGenerator m_random;
    std::atomic<qint64> m_lastRequest{0}; // when it came
    std::atomic<int> m_asking{0};
    std::atomic<int> m_together{0}; // sessions that asked while another one did
    qint64 m_askedAfter = 0;        // nanoseconds from a session's start to its request
    qint64 m_wholeLife = 0;         // nanoseconds
    int m_kills = 0;
    int m_trios = 0;
    int m_begunInTrios = 0; // sessions that ran the program when they were killed
    int m_refusals = 0;     // of sessions after those that were killed
};

void tst_GuardStorm::initTestCase()
{
    bool given = false;
    quint32 seed = qEnvironmentVariable("UPDATER_SEED").toUInt(&given);
    if (!given) {
        seed = QRandomGenerator::global()->generate();
    }
    m_random.seed(seed);
    qInfo("UPDATER_SEED=%u", seed);
    m_server = std::make_unique<ScriptedServer>(
        [this](ScriptedConnection &connection, const QByteArray &) {
            m_lastRequest = Now();
            m_together += ++m_asking > 1 ? 1 : 0;
            connection.pause(4); // like a more distant server
            --m_asking;
            connection.send(ScriptedServer::answer("200 OK", "{}"));
        },
        UPDATER_PORT);
    m_bundle = std::make_unique<HostBundle>(QStringLiteral(UPDATER));
    for (int i = 0; i < 3; ++i) { // then all is in the caches
        QCOMPARE(live(), NoUpdate);
    }
}

/// One complete session, used to choose the moments of the others.
QByteArray tst_GuardStorm::live()
{
    StartingShot shot;
    ReadySession session(*m_bundle, shot);
    const qint64 start = Now();
    shot.fire();
    QByteArray output = End(session);
    if (output == NoUpdate) {
        m_askedAfter = m_lastRequest - start;
        m_wholeLife = Now() - start;
    }
    return output;
}

/// Whatever happened, nothing of the sessions is left: no segment, no semaphore, no key file.
void tst_GuardStorm::cleanup()
{
    QVERIFY(!Onlooker(*m_bundle).attach());
    const QStringList keyFiles = QDir::temp().entryList({QStringLiteral("qipc_*")});
    QVERIFY2(keyFiles.isEmpty(), qPrintable(keyFiles.join(QLatin1Char(' '))));
    if (HasOwnIpc) { // else there may be others
        QCOMPARE(SharedMemorySegments(), QList<QByteArray>());
        QCOMPARE(Semaphores(), QList<QByteArray>());
    }
}

/// Sessions one after another: the first may find what a killed one left, the others may not.
void tst_GuardStorm::goOn()
{
    QList<QByteArray> outputs;
    for (int i = 0; i < 3; ++i) {
        outputs.append(live());
    }
    if (IsRefusal(outputs.first())) {
        ++m_refusals;
        outputs.removeFirst();
    }
    for (const QByteArray &output : qAsConst(outputs)) {
        QCOMPARE(output, NoUpdate);
    }
}

qint64 tst_GuardStorm::randomUpTo(qint64 nanoseconds)
{
    return static_cast<qint64>(m_random.generateDouble() * static_cast<double>(nanoseconds));
}

void tst_GuardStorm::pairs_startedAtOnce_areNotBothRefused()
{
    const int pairs = NumberFromEnvironment("UPDATER_PAIRS", 30);
    int bothServed = 0;
    int semaphoresLeft = 0;
    for (int i = 0; i < pairs; ++i) {
        StartingShot shot;
        ReadySession one(*m_bundle, shot);
        ReadySession two(*m_bundle, shot);
        shot.fire();
        const QList<QByteArray> outputs{End(one), End(two)};
        for (const QByteArray &output : outputs) {
            QVERIFY2(output == NoUpdate || IsRefusal(output), output.constData());
        }
        QVERIFY2(outputs.contains(NoUpdate), "both were refused");
        bothServed += outputs.count(NoUpdate) == 2 ? 1 : 0;
        // Two sessions that end at the same time can leave the toolkit's semaphore behind, which is
        // harmless.
        if (HasOwnIpc && !Semaphores().isEmpty()) {
            ++semaphoresLeft;
            QCOMPARE(live(), NoUpdate);
            QCOMPARE(live(), NoUpdate);
            RemoveSemaphores();
        }
        cleanup();
    }
    // The other session can come between finding no record and making one.
    qInfo("%d pairs, of %d of which both were served, %d of them at the same time; %d left a "
          "semaphore",
          pairs, bothServed, m_together.load(), semaphoresLeft);
}

void tst_GuardStorm::killed_atAnyMoment_refusesAtMostTheNextOne_data()
{
    QTest::addColumn<int>("phase");
    const std::array<const char *, 3> phases{"at any time", "about when it makes its record",
                                             "after its request"};
    const int kills = NumberFromEnvironment("UPDATER_KILLS", 15);
    for (int i = 0; i < kills; ++i) {
        const int phase = i % static_cast<int>(phases.size());
        QTest::addRow("%d, %s", i + 1, phases.at(static_cast<std::size_t>(phase))) << phase;
    }
}

void tst_GuardStorm::killed_atAnyMoment_refusesAtMostTheNextOne()
{
    QFETCH(int, phase);
    StartingShot shot;
    ReadySession session(*m_bundle, shot);
    const qint64 start = Now();
    shot.fire();
    if (phase == 0) {
        SleepUntil(start + randomUpTo(m_wholeLife * 5 / 4));
    } else if (phase == 1) {
        SleepUntil(start + m_askedAfter * 2 / 3 + randomUpTo(m_askedAfter / 3));
    } else {
        while (m_lastRequest < start && session.state() != QProcess::NotRunning) {
            (void)session.waitForFinished(1);
        }
        SleepUntil(m_lastRequest + randomUpTo((m_wholeLife - m_askedAfter) * 5 / 4));
    }
    Kill(session);
    m_kills += session.exitStatus() == QProcess::CrashExit ? 1 : 0;
    goOn();
}

void tst_GuardStorm::killed_twoWhileAThirdStarts_refuseAtMostOneMore_data()
{
    QTest::addColumn<double>("moment");
    const int trios = NumberFromEnvironment("UPDATER_KILLS", 15) / 5;
    for (int i = 0; i < trios; ++i) {
        QTest::addRow("%d", i + 1) << m_random.generateDouble();
    }
}

void tst_GuardStorm::killed_twoWhileAThirdStarts_refuseAtMostOneMore()
{
    QFETCH(double, moment);
    StartingShot shot;
    StartingShot thirdShot;
    ReadySession one(*m_bundle, shot);
    ReadySession two(*m_bundle, shot);
    ReadySession third(*m_bundle, thirdShot);
    shot.fire();
    SleepUntil(Now() + static_cast<qint64>(moment * static_cast<double>(m_wholeLife)));
    thirdShot.fire();
    ++m_trios;
    m_begunInTrios += runsTheProgram(one) + runsTheProgram(two);
    Kill(one);
    Kill(two);
    for (QProcess *killed : {&static_cast<QProcess &>(one), &static_cast<QProcess &>(two)}) {
        m_kills += killed->exitStatus() == QProcess::CrashExit ? 1 : 0;
    }
    const QByteArray output = End(third);
    QVERIFY2(output == NoUpdate || IsRefusal(output), output.constData());
    goOn();
}

/// What a kill between two consecutive system calls leaves behind. The toolkit is made that way; if
/// that is fixed one day, invert this test.
void tst_GuardStorm::semaphore_leftHalfMade_stopsSessionsUntilItIsRemoved()
{
    if (!HasOwnIpc) {
        QSKIP("Private semaphores are not available here.");
    }
    QString keyFile;
    {
        const QSystemSemaphore sameKey(m_bundle->macOsDir() + QStringLiteral("update_singleton"));
        keyFile = QDir::temp().entryList({QStringLiteral("qipc_*")}).value(0);
    }
    QVERIFY(!keyFile.isEmpty());
    keyFile = QDir::temp().filePath(keyFile);
    WriteFile(keyFile, QByteArray());
    const key_t key = ::ftok(QFile::encodeName(keyFile).constData(), 'Q');
    const int id = ::semget(key, 1, IPC_CREAT | IPC_EXCL | 0600);
    QVERIFY(id != -1);

    StartingShot shot;
    ReadySession session(*m_bundle, shot);
    shot.fire();
    QTRY_COMPARE(::semctl(id, 0, GETNCNT), 1); // it waits
    QCOMPARE(RemoveHalfMadeSemaphores(), 1);
    QCOMPARE(End(session), NoUpdate);
}

void tst_GuardStorm::cleanupTestCase()
{
    qInfo("%d semaphores were left half made by a kill", HalfMade);
    qInfo("the last session asked after %lld us and lived for %lld us", m_askedAfter / 1000,
          m_wholeLife / 1000);
    qInfo("%d kills, %d of which cost the next session its turn", m_kills, m_refusals);
    qInfo("%d times two were killed while a third started; %d of them ran by then", m_trios,
          m_begunInTrios);
    m_server.reset();
    QVERIFY(m_kills > 0);
    QVERIFY(m_trios == 0 || m_begunInTrios > 0);
}

int main(int argc, char *argv[])
{
    HasOwnIpc = EnterOwnNamespaces(OwnIpc); // before there is a second thread
    QCoreApplication application(argc, argv);
    tst_GuardStorm test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_guard_storm.moc"
