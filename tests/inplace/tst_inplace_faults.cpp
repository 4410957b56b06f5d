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
/// UPDATER_FILES entries where changes fail; UPDATER_FAULTS failures of each kind, spread evenly
/// over all calls, or one for each single call with 0.
class tst_InplaceFaults : public QObject {
    Q_OBJECT

private slots:
    void call_fails_nothingIsLost_data();
    void call_fails_nothingIsLost();
    void installed_unreadable_isNotTakenForMissing_data();
    void installed_unreadable_isNotTakenForMissing();
    void trees_unreadable_formerOneIsKept();
    void descriptors_few_nothingIsLost_data();
    void descriptors_few_nothingIsLost();
    void exchange_unknown_twoRenamesDo();
    void exchange_unknown_killedBetween_isMended();
};

void tst_InplaceFaults::call_fails_nothingIsLost_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("isOnwards");
    QTest::addColumn<Rehearsal::Scene>("scene");
    QTest::addColumn<bool>("atStaging"); // where the calls are counted
    QTest::addColumn<QStringList>("kinds");
    using Scene = Rehearsal::Scene;
    const QStringList changes = AllChanges();
    const QStringList opens{QStringLiteral("open"), QStringLiteral("open-to-read"),
                            QStringLiteral("list")};
    const QStringList looks{QStringLiteral("open-to-read"), QStringLiteral("read"),
                            QStringLiteral("list"), QStringLiteral("stat")};
    QTest::newRow("ENOSPC once") << ENOSPC << false << Scene::OneVolume << false << changes;
    QTest::newRow("ENOSPC from there on") << ENOSPC << true << Scene::OneVolume << false << changes;
    QTest::newRow("EIO once, staging on another volume")
        << EIO << false << Scene::TwoVolumes << false << changes;
    QTest::newRow("EIO once, at staging on another volume")
        << EIO << false << Scene::TwoVolumes << true << changes;
    QTest::newRow("EACCES once") << EACCES << false << Scene::OneVolume << false << changes;
    QTest::newRow("EMFILE once, opening") << EMFILE << false << Scene::OneVolume << false << opens;
    QTest::newRow("EIO once, looking") << EIO << false << Scene::OneVolume << false << looks;
    QTest::newRow("EACCES once, looking") << EACCES << false << Scene::OneVolume << false << looks;
    QTest::newRow("EIO once, looking, plain folder")
        << EIO << false << Scene::PlainFolder << false << looks;
}

void tst_InplaceFaults::call_fails_nothingIsLost()
{
    QFETCH(int, error);
    QFETCH(bool, isOnwards);
    QFETCH(Rehearsal::Scene, scene);
    QFETCH(bool, atStaging);
    QFETCH(QStringList, kinds);
    if (scene == Rehearsal::Scene::TwoVolumes && OtherVolume().isEmpty()) {
        QSKIP("There is no other volume.");
    }
    // There are so many of them; twenty entries are one of each kind.
    const bool isForLooks = kinds.contains(QStringLiteral("open-to-read"));
    const Rehearsal rehearsal(isForLooks ? 20 : Setting("UPDATER_FILES", 60), scene);
    const QStringList arguments = rehearsal.stage->arguments();
    FailingCalls calls(atStaging ? rehearsal.stagingSide() : rehearsal.installSide(), kinds);
    InplaceProgram whole(arguments);
    whole.prefix(calls.letThrough());
    QCOMPARE(whole.run(), 0);
    const int count = calls.count();
    const int tries = Setting("UPDATER_FAULTS", 8);
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
        const Rehearsal::State state = rehearsal.state();
        QVERIFY2(state.mixture.isEmpty(), qPrintable(where + state.mixture));
        QVERIFY2(code == 1 || state.isNew, qPrintable(where));
        (code == 0 ? successes : failures)++;
        const QString wrong = rehearsal.mend(state.isNew);
        QVERIFY2(wrong.isEmpty(), qPrintable(where + wrong));
    }
    qInfo("%d calls; %d failed: %d runs succeeded anyway, %d reported it", count,
          successes + failures, successes, failures);
    QVERIFY(failures > 0);
}

void tst_InplaceFaults::installed_unreadable_isNotTakenForMissing_data()
{
    QTest::addColumn<Rehearsal::Scene>("scene");
    QTest::addColumn<QString>("file");
    QTest::newRow("manifest of a folder")
        << Rehearsal::Scene::PlainFolder << "around/Sample.app/update_md5.info";
    QTest::newRow("manifest of a bundle")
        << Rehearsal::Scene::OneVolume << "staging/update_md5.info";
    QTest::newRow("property list")
        << Rehearsal::Scene::OneVolume << "around/Sample.app/Contents/Info.plist";
}

/// Or files of the former release would be taken for the user's own, and stay.
void tst_InplaceFaults::installed_unreadable_isNotTakenForMissing()
{
    QFETCH(Rehearsal::Scene, scene);
    QFETCH(QString, file);
    const Rehearsal rehearsal(20, scene);
    FailingCalls calls(
        rehearsal.stage->temporary.filePath(file),
        {QStringLiteral("open-to-read"), QStringLiteral("read"), QStringLiteral("stat")});
    InplaceProgram whole(rehearsal.stage->arguments());
    whole.prefix(calls.letThrough());
    QCOMPARE(whole.run(), 0);
    const int count = calls.count();
    QVERIFY(count > 0);
    for (int number = 1; number <= count; ++number) {
        rehearsal.putBack();
        InplaceProgram struck(rehearsal.stage->arguments());
        struck.prefix(calls.failOnce(number, EIO));
        const bool isDone = struck.run() == 0;
        const QString where = calls.calls().value(number - 1);
        QCOMPARE(calls.hasFailed() ? QString() : where, QString());
        QCOMPARE(rehearsal.stage->differences(isDone ? rehearsal.release : rehearsal.former),
                 QString());
        QVERIFY2(isDone || struck.code() == QLatin1String("storage"), qPrintable(where));
    }
}

/// Which tree is which decides what becomes of them after the exchange.
void tst_InplaceFaults::trees_unreadable_formerOneIsKept()
{
    const Rehearsal rehearsal(20, Rehearsal::Scene::OneVolume);
    FailingCalls calls(rehearsal.stage->parent, {QStringLiteral("stat")});
    InplaceProgram whole(rehearsal.stage->arguments());
    whole.prefix(calls.letThrough());
    QCOMPARE(whole.run(), 0);
    const QStringList seen = calls.calls();
    int strikes = 0;
    for (int number = seen.size(); number > 0 && strikes < 8; --number) {
        const QString &call = seen.at(number - 1);
        if (!call.endsWith(QLatin1String("/.Sample.app#new")) &&
            !call.endsWith(QLatin1String("/.Sample.app#previous"))) {
            continue;
        }
        ++strikes;
        rehearsal.putBack();
        InplaceProgram struck(rehearsal.stage->arguments());
        struck.prefix(calls.failOnce(number, EIO));
        (void)struck.run(); // judged by what is there
        const Rehearsal::State state = rehearsal.state();
        QCOMPARE(state.mixture, QString());
        QCOMPARE(rehearsal.mend(state.isNew), QString());
    }
    QVERIFY(strikes > 1);
}

void tst_InplaceFaults::descriptors_few_nothingIsLost_data()
{
    QTest::addColumn<bool>("isFetched");
    QTest::addColumn<int>("step");
    QTest::newRow("fetching, which needs the most") << false << Setting("UPDATER_STEP", 4);
    QTest::newRow("applying what was fetched") << true << 1;
}

/// With fewer files that may be open at once than the program needs, sockets included.
void tst_InplaceFaults::descriptors_few_nothingIsLost()
{
    QFETCH(bool, isFetched);
    QFETCH(int, step);
    const Rehearsal rehearsal(40, Rehearsal::Scene::OneVolume);
    InplaceStage &stage = *rehearsal.stage;
    const QStringList more(isFetched ? QStringList(QStringLiteral("--apply-only")) : QStringList());
    QMap<QString, int> codes;
    for (int limit = 3; !codes.contains(QStringLiteral("updated")); limit += step) {
        QVERIFY(limit < 24 + 8 * QThread::idealThreadCount()); // more would be kept open in vain
        rehearsal.putBack();
        if (isFetched) {
            QCOMPARE(stage.run({QStringLiteral("--fetch-only")}), QStringLiteral("ready"));
        }
        InplaceProgram struck(stage.arguments(more));
        const int code = struck.run(QStringLiteral("ulimit -n %1").arg(limit));
        const Rehearsal::State state = rehearsal.state();
        QVERIFY2(state.mixture.isEmpty(), qPrintable(state.mixture));
        QVERIFY2((code == 0) == state.isNew, struck.errors().constData());
        codes[struck.code()]++;
        QCOMPARE(rehearsal.mend(state.isNew), QString());
    }
    for (auto code = codes.cbegin(); code != codes.cend(); ++code) {
        qInfo("%d times %s", code.value(), qPrintable(code.key()));
    }
    QVERIFY(codes.size() > 1);
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
    const Rehearsal rehearsal(40, Rehearsal::Scene::OneVolume);
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
    QCOMPARE(rehearsal.mend(true), QString());
    QCOMPARE(rehearsal.stage->run({QStringLiteral("--undo")}), QStringLiteral("undone"));
    QCOMPARE(rehearsal.stage->differences(rehearsal.former), QString());
}

void tst_InplaceFaults::exchange_unknown_killedBetween_isMended()
{
    const Rehearsal rehearsal(40, Rehearsal::Scene::OneVolume);
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
