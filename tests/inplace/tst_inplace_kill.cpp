// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/Rehearsal.h"
#include "tests/inplace/Samples.h"
#include "tests/support/FailingCalls.h"

#include <QRandomGenerator>
#include <QtTest>

#include <csignal>

namespace {

/// The tests may have been started with the signal ignored.
const QStringList Attentive{QStringLiteral("env"), QStringLiteral("--default-signal=INT")};

Rehearsal::Scene SceneOf(bool isApart)
{
    return isApart ? Rehearsal::Scene::TwoVolumes : Rehearsal::Scene::OneVolume;
}

} // namespace

/// Updates that are stopped somewhere: at each moment the installation is entirely the old or
/// entirely the new release, and the next run ends with the new one.
///
/// UPDATER_FILES entries; UPDATER_KILLS stops of each kind, spread evenly over all changes, or one
/// before each single change with 0. At random moments: UPDATER_RANDOM_FILES entries,
/// UPDATER_RANDOM stops by SIGKILL of each kind, and a fifth as many by each other signal.
class tst_InplaceKill : public QObject {
    Q_OBJECT

private slots:
    void stop_atAChange_isWholeAndMends_data();
    void stop_atAChange_isWholeAndMends();
    void stop_atARandomMoment_isWholeAndMends_data();
    void stop_atARandomMoment_isWholeAndMends();

private:
    void judge(const Rehearsal &rehearsal, const InplaceProgram &stopped, int signal,
               const QString &where);

    int m_stillOld = 0;
    int m_alreadyNew = 0;
};

void tst_InplaceKill::judge(const Rehearsal &rehearsal, const InplaceProgram &stopped, int signal,
                            const QString &where)
{
    const Rehearsal::State state = rehearsal.state();
    QVERIFY2(state.mixture.isEmpty(), qPrintable(where + QLatin1Char('\n') + state.mixture));
    if (signal != SIGKILL) {
        // Before it has read its command line a signal just ends it.
        const int code = stopped.exitCode();
        QVERIFY2((code == 0) == state.isNew, qPrintable(where));
        QVERIFY2(code != 1 || stopped.code() == QLatin1String("cancelled"), qPrintable(where));
    }
    (state.isNew ? m_alreadyNew : m_stillOld)++;
    const QString wrong = rehearsal.mend(state.isNew);
    QVERIFY2(wrong.isEmpty(), qPrintable(where + QLatin1Char('\n') + wrong));
}

void tst_InplaceKill::stop_atAChange_isWholeAndMends_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<bool>("isApart");
    QTest::addColumn<bool>("atStaging"); // where the changes are counted
    QTest::newRow("SIGKILL, one volume") << SIGKILL << false << false;
    QTest::newRow("SIGKILL, staging on another volume") << SIGKILL << true << false;
    QTest::newRow("SIGKILL, at changes of staging on another volume") << SIGKILL << true << true;
    QTest::newRow("SIGTERM, one volume") << SIGTERM << false << false;
    QTest::newRow("SIGINT, staging on another volume") << SIGINT << true << false;
}

void tst_InplaceKill::stop_atAChange_isWholeAndMends()
{
    QFETCH(int, signal);
    QFETCH(bool, isApart);
    QFETCH(bool, atStaging);
    if (isApart && OtherVolume().isEmpty()) {
        QSKIP("There is no other volume.");
    }
    const Rehearsal rehearsal(Setting("UPDATER_FILES", 60), SceneOf(isApart));
    const QStringList arguments = rehearsal.stage->arguments();
    FailingCalls calls(atStaging ? rehearsal.stagingSide() : rehearsal.installSide(), AllChanges());
    InplaceProgram whole(arguments);
    whole.prefix(calls.letThrough());
    QCOMPARE(whole.run(), 0);
    const int count = calls.count();
    QVERIFY(count > 20);
    const int tries = Setting("UPDATER_KILLS", 10);
    const int step = tries == 0 ? 1 : qMax(1, count / tries);
    m_stillOld = m_alreadyNew = 0;
    for (int number = 1 + (count - 1) % step; number <= count; number += step) {
        rehearsal.putBack();
        InplaceProgram stopped(arguments);
        stopped.prefix(Attentive + calls.signalBefore(number, signal));
        const int code = stopped.run();
        const QString where =
            QString::number(number) + QLatin1Char(' ') + calls.calls().value(number - 1);
        QVERIFY2(signal == SIGKILL || code >= 0, qPrintable(where));
        judge(rehearsal, stopped, signal, where);
        if (QTest::currentTestFailed()) {
            return;
        }
    }
    qInfo("%d changes; stopped %d times: %d old, %d new, 0 mixed", count, m_stillOld + m_alreadyNew,
          m_stillOld, m_alreadyNew);
    QVERIFY(m_stillOld > 0 && m_alreadyNew > 0);
}

void tst_InplaceKill::stop_atARandomMoment_isWholeAndMends_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<bool>("isApart");
    QTest::newRow("SIGKILL, one volume") << SIGKILL << false;
    QTest::newRow("SIGKILL, staging on another volume") << SIGKILL << true;
    QTest::newRow("SIGTERM, one volume") << SIGTERM << false;
    QTest::newRow("SIGINT, staging on another volume") << SIGINT << true;
}

void tst_InplaceKill::stop_atARandomMoment_isWholeAndMends()
{
    QFETCH(int, signal);
    QFETCH(bool, isApart);
    if (isApart && OtherVolume().isEmpty()) {
        QSKIP("There is no other volume.");
    }
    const Rehearsal rehearsal(Setting("UPDATER_RANDOM_FILES", 60), SceneOf(isApart));
    InplaceProgram whole(rehearsal.stage->arguments());
    QCOMPARE(whole.run(), 0);
    const int longest = static_cast<int>(whole.milliseconds());
    m_stillOld = m_alreadyNew = 0;
    QRandomGenerator random(static_cast<quint32>(Setting("UPDATER_SEED", 1)));
    const int kills = Setting("UPDATER_RANDOM", 10);
    for (int round = signal == SIGKILL ? kills : kills / 5; round > 0; --round) {
        rehearsal.putBack();
        InplaceProgram stopped(rehearsal.stage->arguments());
        stopped.prefix(Attentive);
        stopped.start();
        (void)stopped.waitForEnd(random.bounded(longest + longest / 4 + 1));
        (void)stopped.send(signal);
        QVERIFY(stopped.waitForEnd());
        judge(rehearsal, stopped, signal, QStringLiteral("round %1").arg(round));
        if (QTest::currentTestFailed()) {
            return;
        }
    }
    qInfo("%d times: %d old, %d new, 0 mixed", m_stillOld + m_alreadyNew, m_stillOld, m_alreadyNew);
}

QTEST_GUILESS_MAIN(tst_InplaceKill)
#include "tst_inplace_kill.moc"
