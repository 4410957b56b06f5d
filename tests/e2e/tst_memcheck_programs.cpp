// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceStage.h"
#include "tests/publish/PublishTool.h"
#include "tests/support/Desktop.h"
#include "tests/support/Memcheck.h"

#include <QtTest>

#include <memory>

namespace {

constexpr int PatienceMs = 120000; // runs are many times slower under memcheck

} // namespace

/// The programs around the updater under memcheck, which must find nothing.
class tst_MemcheckPrograms : public QObject {
    Q_OBJECT

private slots:
    static void inplace_update_hasNoReports_data();
    static void inplace_update_hasNoReports();
    static void inplace_failure_hasNoReports();
    static void publish_releaseThenVerify_hasNoReports();
    static void publish_refusal_hasNoReports();
};

namespace {

/// Runs an in-place update of \a stage and returns its exit code; -1 if it did not end by itself.
int RunInplace(const InplaceStage &stage, const QProcessEnvironment &environment, bool isConsole,
               const Memcheck &memcheck)
{
    QStringList command =
        memcheck.wrapper() + QStringList{QStringLiteral(INPLACE_UPDATE)} + stage.arguments();
    if (!isConsole) {
        command.removeAll(QStringLiteral("--console"));
    }
    ChildProcess process;
    process.setProcessEnvironment(environment);
    process.start(command.constFirst(), command.mid(1));
    const bool ended = process.waitForFinished(PatienceMs);
    return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

/// An installation of the old release, and a server with the new one.
std::unique_ptr<InplaceStage> MakeStage()
{
    auto stage = std::make_unique<InplaceStage>(QStringLiteral("Sample"));
    stage->lay(InplaceStage::oldRelease());
    stage->publish(InplaceStage::newRelease());
    return stage;
}

} // namespace

void tst_MemcheckPrograms::inplace_update_hasNoReports_data()
{
    QTest::addColumn<bool>("isConsole");
    QTest::newRow("console") << true;
    QTest::newRow("windows") << false;
}

void tst_MemcheckPrograms::inplace_update_hasNoReports()
{
    QFETCH(bool, isConsole);
    Desktop desktop;
    QVERIFY(desktop.isUp());
    const auto stage = MakeStage();
    const QProcessEnvironment environment =
        desktop.shownIn(QProcessEnvironment::systemEnvironment());
    for (int run = 0; run < 2; ++run) { // the second one finds nothing to do
        const Memcheck memcheck;
        const int exitCode = RunInplace(*stage, environment, isConsole, memcheck);
        QVERIFY(memcheck.foundNothing());
        QCOMPARE(exitCode, 0);
    }
    QCOMPARE(stage->differences(InplaceStage::newRelease()), QString());
}

void tst_MemcheckPrograms::inplace_failure_hasNoReports()
{
    const auto stage = MakeStage();
    FileMap release = InplaceStage::newRelease().published();
    release.insert(QStringLiteral("1.1.0/z"), "not what the manifest says");
    stage->serve(ServeFiles(release));
    const Memcheck memcheck;
    const int exitCode =
        RunInplace(*stage, QProcessEnvironment::systemEnvironment(), true, memcheck);
    QVERIFY(memcheck.foundNothing());
    QCOMPARE(exitCode, 1);
    QCOMPARE(stage->differences(InplaceStage::oldRelease()), QString());
}

void tst_MemcheckPrograms::publish_releaseThenVerify_hasNoReports()
{
    const QTemporaryDir folder;
    const QString release = folder.filePath(QStringLiteral("release"));
    const QString output = folder.filePath(QStringLiteral("output"));
    for (int file = 0; file < 20; ++file) {
        WriteFile(release + QStringLiteral("/资源/%1").arg(file), QByteArray(file * 1000, 'x'));
    }
    const Memcheck publishing;
    const ToolRun publish = RunPublish(PublishArguments(release, output), publishing.wrapper());
    QVERIFY(publishing.foundNothing());
    QCOMPARE(publish.exitCode, 0);

    const ScriptedServer server(ServeFiles(ReadTree(QDir(output))));
    const Memcheck verifying;
    const ToolRun verify =
        RunPublish({QStringLiteral("--verify"), server.url(QString())}, verifying.wrapper());
    QVERIFY(verifying.foundNothing());
    QCOMPARE(verify.exitCode, 0);
    QCOMPARE(server.requests().size(), 22); // the description, the manifest and the files
}

void tst_MemcheckPrograms::publish_refusal_hasNoReports()
{
    const QTemporaryDir folder;
    const QString release = folder.filePath(QStringLiteral("release"));
    WriteFile(release + QStringLiteral("/file"), "one");
    WriteFile(release + QStringLiteral("/FILE"), "the same to some file systems");
    const Memcheck memcheck;
    const ToolRun run = RunPublish(
        PublishArguments(release, folder.filePath(QStringLiteral("output"))), memcheck.wrapper());
    QVERIFY(memcheck.foundNothing());
    QCOMPARE(run.exitCode, 1);
}

QTEST_GUILESS_MAIN(tst_MemcheckPrograms)
#include "tst_memcheck_programs.moc"
