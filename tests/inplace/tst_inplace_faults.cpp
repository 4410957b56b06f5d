// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/Rehearsal.h"
#include "tests/inplace/Samples.h"
#include "tests/support/FailingCalls.h"

#include <QtTest>

#include <cerrno>

/// System calls that fail once, or from some call on: the installation is entirely the old or
/// entirely the new release, success is reported only if it is the new one, and the next run ends
/// with it.
///
/// UPDATER_FILES entries; UPDATER_FAULTS failures of each kind, spread evenly over all calls, or
/// one for each single call with 0.
class tst_InplaceFaults : public QObject {
    Q_OBJECT

private slots:
    void call_fails_nothingIsLost_data();
    void call_fails_nothingIsLost();
    void exchange_unknown_twoRenamesDo();
    void exchange_unknown_killedBetween_isMended();
};

void tst_InplaceFaults::call_fails_nothingIsLost_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("isOnwards");
    QTest::addColumn<bool>("isApart");
    QTest::addColumn<QStringList>("kinds");
    const QStringList changes = AllChanges();
    const QStringList reads{QStringLiteral("open-to-read"), QStringLiteral("read")};
    QTest::newRow("ENOSPC once") << ENOSPC << false << false << changes;
    QTest::newRow("ENOSPC from there on") << ENOSPC << true << false << changes;
    QTest::newRow("EIO once") << EIO << false << true << changes;
    QTest::newRow("EACCES once") << EACCES << false << false << changes;
    QTest::newRow("EIO once, reading") << EIO << false << false << reads;
    QTest::newRow("EMFILE once, reading") << EMFILE << false << false << reads;
}

void tst_InplaceFaults::call_fails_nothingIsLost()
{
    QFETCH(int, error);
    QFETCH(bool, isOnwards);
    QFETCH(bool, isApart);
    QFETCH(QStringList, kinds);
    if (isApart && OtherVolume().isEmpty()) {
        QSKIP("There is no other volume.");
    }
    const Rehearsal rehearsal(Setting("UPDATER_FILES", 60), isApart);
    const QStringList arguments = rehearsal.stage->arguments();
    FailingCalls calls(rehearsal.installSide(), kinds);
    InplaceProgram whole(arguments);
    whole.prefix(calls.letThrough());
    QCOMPARE(whole.run(), 0);
    const int count = calls.count();
    const int tries = Setting("UPDATER_FAULTS", 12);
    const int step = tries == 0 ? 1 : qMax(1, count / tries);
    int successes = 0;
    int failures = 0;
    for (int number = 1 + (count - 1) % step; number <= count; number += step) {
        rehearsal.putBack();
        InplaceProgram struck(arguments);
        struck.prefix(isOnwards ? calls.failFrom(number, error) : calls.failOnce(number, error));
        const int code = struck.run();
        const QString where = QStringLiteral("%1 %2\n%3")
                                  .arg(QString::number(number), calls.calls().value(number - 1),
                                       QString::fromUtf8(struck.errors()));
        QVERIFY2(code == 0 || code == 1, qPrintable(where));
        const QString mixture = rehearsal.mixture();
        QVERIFY2(mixture.isEmpty(), qPrintable(where + mixture));
        QVERIFY2(code == 1 || rehearsal.isNew(), qPrintable(where));
        (code == 0 ? successes : failures)++;
        const QString wrong = rehearsal.mend();
        QVERIFY2(wrong.isEmpty(), qPrintable(where + wrong));
    }
    qInfo("%d calls; %d failed: %d runs succeeded anyway, %d reported it", count,
          successes + failures, successes, failures);
    QVERIFY(failures > 0);
}

/// The number of the call that exchanges the two trees.
static int NumberOfExchange(const FailingCalls &calls, const QString &install)
{
    const QStringList seen = calls.calls();
    for (int index = 0; index < seen.size(); ++index) {
        if (seen.at(index) == QStringLiteral("rename ") + install) {
            return index + 1;
        }
    }
    return 0;
}

void tst_InplaceFaults::exchange_unknown_twoRenamesDo()
{
    const Rehearsal rehearsal(40, false);
    FailingCalls calls(rehearsal.installSide(), AllChanges());
    InplaceProgram whole(rehearsal.stage->arguments());
    whole.prefix(calls.letThrough());
    QCOMPARE(whole.run(), 0);
    const int number = NumberOfExchange(calls, rehearsal.stage->install);
    QVERIFY(number > 0);
    rehearsal.putBack();
    InplaceProgram renaming(rehearsal.stage->arguments());
    renaming.prefix(calls.failOnce(number, EINVAL));
    QCOMPARE(renaming.run(), 0);
    QVERIFY(calls.hasFailed());
    QVERIFY(rehearsal.isNew());
    QCOMPARE(rehearsal.mend(), QString());
    QCOMPARE(rehearsal.stage->run({QStringLiteral("--undo")}), QStringLiteral("undone"));
    QCOMPARE(rehearsal.stage->differences(rehearsal.former), QString());
}

void tst_InplaceFaults::exchange_unknown_killedBetween_isMended()
{
    const Rehearsal rehearsal(40, false);
    InplaceStage &stage = *rehearsal.stage;
    QCOMPARE(stage.run({QStringLiteral("--fetch-only")}), QStringLiteral("ready"));
    // The state after a stop between the two renames, on a volume without an exchange.
    QDir around(stage.parent);
    const QString former = QStringLiteral(".Sample.app#previous");
    QVERIFY(QDir(around.filePath(former)).removeRecursively());
    QVERIFY(around.rename(QStringLiteral("Sample.app"), former));
    stage.stopServing();
    QCOMPARE(stage.run(), QStringLiteral("network"));
    QCOMPARE(stage.differences(rehearsal.former), QString());
    stage.publish(rehearsal.release);
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    QCOMPARE(stage.differences(rehearsal.release), QString());
}

QTEST_GUILESS_MAIN(tst_InplaceFaults)
#include "tst_inplace_faults.moc"
