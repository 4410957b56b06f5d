// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/Descriptor.h"
#include "tests/inplace/InplaceStage.h"
#include "tests/inplace/Rehearsal.h"
#include "tests/support/FailingCalls.h"

#include <QtTest>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>

namespace {

constexpr int Around = 1; // calls before and after the exchange

/// Adds the folders that two updates may have in common.
void AddFoldersInCommon()
{
    QTest::addColumn<bool>("sameInstall");
    QTest::addColumn<bool>("sameStaging");
    QTest::newRow("both folders") << true << true;
    QTest::newRow("the installation") << true << false;
    QTest::newRow("the staging folder") << false << true;
}

bool IsStopped(qint64 processId)
{
    return ReadFile(QStringLiteral("/proc/%1/stat").arg(processId)).contains(") T ");
}

} // namespace

/// Two updates at the same time, of one installation or with one staging folder: one is refused.
class tst_InplaceTwice : public QObject {
    Q_OBJECT

private slots:
    void two_atOnce_oneIsRefused_data();
    void two_atOnce_oneIsRefused();
    void two_acrossTheExchange_oneIsRefused_data();
    void two_acrossTheExchange_oneIsRefused();
    void folder_lockedForLong_isBusy_data();
    void folder_lockedForLong_isBusy();
};

void tst_InplaceTwice::two_atOnce_oneIsRefused_data()
{
    AddFoldersInCommon();
}

/// UPDATER_ROUNDS times; the server waits until one of the two has ended.
void tst_InplaceTwice::two_atOnce_oneIsRefused()
{
    QFETCH(bool, sameInstall);
    QFETCH(bool, sameStaging);
    const FileMap files = InplaceStage::newRelease().published();
    std::atomic<bool> hasOneEnded{false};
    const auto handler = [&](ScriptedConnection &connection, const QByteArray &request) {
        while (!hasOneEnded) {
            connection.pause(1);
        }
        ServeFiles(files)(connection, request);
    };
    for (int round = Setting("UPDATER_ROUNDS", 5); round > 0; --round) {
        InplaceStage one(QStringLiteral("Sample"));
        InplaceStage other(QStringLiteral("Sample"));
        other.install = sameInstall ? one.install : other.install;
        other.staging = sameStaging ? one.staging : other.staging;
        one.lay(InplaceStage::oldRelease());
        if (!sameInstall) {
            other.lay(InplaceStage::oldRelease());
        }
        hasOneEnded = false;
        one.serve(handler);
        other.serve(handler);
        const QString go = one.temporary.filePath(QStringLiteral("go"));
        const QString wait = QStringLiteral("while ! [ -e '%1' ]; do :; done").arg(go);
        InplaceProgram first(one.arguments());
        InplaceProgram second(other.arguments());
        first.start(wait);
        second.start(wait);
        WriteFile(go, "");
        while (!first.waitForEnd(1) && !second.waitForEnd(1)) {
        }
        hasOneEnded = true;
        QVERIFY(first.waitForEnd() && second.waitForEnd());
        const bool isFirstRefused = first.exitCode() != 0;
        QCOMPARE((isFirstRefused ? first : second).code(), QStringLiteral("busy"));
        QCOMPARE((isFirstRefused ? second : first).code(), QStringLiteral("updated"));
        const InplaceStage &updated = isFirstRefused ? other : one;
        const InplaceStage &untouched = isFirstRefused ? one : other;
        QCOMPARE(updated.differences(InplaceStage::newRelease()), QString());
        QCOMPARE(untouched.differences(sameInstall ? InplaceStage::newRelease()
                                                   : InplaceStage::oldRelease()),
                 QString());
    }
}

void tst_InplaceTwice::two_acrossTheExchange_oneIsRefused_data()
{
    AddFoldersInCommon();
}

/// The first one is halted right before the exchange, and at the calls around it.
void tst_InplaceTwice::two_acrossTheExchange_oneIsRefused()
{
    QFETCH(bool, sameInstall);
    QFETCH(bool, sameStaging);
    const Rehearsal rehearsal(20, Rehearsal::Scene::OneVolume);
    const QStringList arguments = rehearsal.stage->arguments();
    FailingCalls calls(rehearsal.installSide(), AllChanges());
    InplaceProgram whole(arguments);
    whole.prefix(calls.letThrough());
    QCOMPARE(whole.run(), 0);
    const int exchange =
        calls.calls().indexOf(QStringLiteral("rename ") + rehearsal.stage->install) + 1;
    QVERIFY(exchange > Around);
    for (int number = exchange - Around; number <= exchange + Around; ++number) {
        rehearsal.putBack();
        InplaceStage other;
        other.lay(rehearsal.former);
        other.publish(rehearsal.release);
        other.install = sameInstall ? rehearsal.stage->install : other.install;
        other.staging = sameStaging ? rehearsal.stage->staging : other.staging;
        InplaceProgram first(arguments);
        first.prefix(calls.signalBefore(number, SIGSTOP));
        first.start();
        QTRY_VERIFY(IsStopped(first.processId()));
        QVERIFY(rehearsal.isNew() == (number > exchange));
        const QString code = other.run();
        QVERIFY(first.send(SIGCONT));
        QVERIFY(first.waitForEnd());
        QCOMPARE(code, QStringLiteral("busy"));
        QCOMPARE(first.code(), QStringLiteral("updated"));
        QCOMPARE(rehearsal.mend(true), QString());
        if (!sameInstall) {
            QCOMPARE(other.differences(rehearsal.former), QString());
        }
    }
}

void tst_InplaceTwice::folder_lockedForLong_isBusy_data()
{
    QTest::addColumn<bool>("isStaging");
    QTest::newRow("around the installation") << false;
    QTest::newRow("the staging folder") << true;
}

/// Another run locks the folder for a moment only, and is waited for; who keeps it is not.
void tst_InplaceTwice::folder_lockedForLong_isBusy()
{
    QFETCH(bool, isStaging);
    InplaceStage stage(QStringLiteral("Sample"));
    stage.lay(InplaceStage::oldRelease());
    stage.publish(InplaceStage::newRelease());
    QVERIFY(QDir().mkpath(stage.staging));
    const QString folder = isStaging ? stage.staging : stage.parent;
    const Descriptor open(
        ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    QCOMPARE(::flock(open.number(), LOCK_EX | LOCK_NB), 0);
    QCOMPARE(stage.run(), QStringLiteral("busy"));
    QVERIFY2(stage.program().errors().contains(folder.toUtf8()),
             stage.program().errors().constData());
    QCOMPARE(stage.requested(), QStringList());
    QCOMPARE(stage.differences(InplaceStage::oldRelease()), QString());
    InplaceProgram waiting(stage.arguments());
    waiting.start();
    QVERIFY(!waiting.waitForEnd(300));
    QCOMPARE(::flock(open.number(), LOCK_UN), 0);
    QVERIFY(waiting.waitForEnd());
    QCOMPARE(waiting.code(), QStringLiteral("updated"));
}

QTEST_GUILESS_MAIN(tst_InplaceTwice)
#include "tst_inplace_twice.moc"
