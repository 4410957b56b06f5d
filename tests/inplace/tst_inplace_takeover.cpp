// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/FileNames.h"
#include "tests/inplace/Rehearsal.h"
#include "tests/support/FailingCalls.h"

#include <QtTest>

#include <cerrno>
#include <csignal>

namespace {

const QString Former = QStringLiteral(".Sample.app#previous");

} // namespace

/// The exchange of the two trees and what follows it, where it fails or the volume is a poor one.
class tst_InplaceTakeover : public QObject {
    Q_OBJECT

private slots:
    void init();
    void exchange_fails_nothingChanges_data();
    void exchange_fails_nothingChanges();
    void renames_fail_nothingChanges_data();
    void renames_fail_nothingChanges();
    void renames_allFail_theNextRunBringsItBack();
    void renames_withoutBackup_leaveNothingBeside();
    void copy_ofAStoppedOne_isKnownByItsFiles_data();
    void copy_ofAStoppedOne_isKnownByItsFiles();
    void install_gone_isSaid();
    void record_unreadable_isNoRecord();
    void record_cannotBeWritten_isRefused();

private:
    void findRenames(FailingCalls &calls);
    QString beside(const QString &name) const { return stage().parent + QLatin1Char('/') + name; }
    InplaceStage &stage() const { return *m_rehearsal->stage; }

    std::unique_ptr<Rehearsal> m_rehearsal;
    int m_exchange = 0;    // its number among the renames
    QStringList m_renames; // of a whole update
};

void tst_InplaceTakeover::init()
{
    m_rehearsal = std::make_unique<Rehearsal>(20, Rehearsal::Scene::OneVolume);
}

/// Updates once to see the renames at the parent folder, and puts everything back.
void tst_InplaceTakeover::findRenames(FailingCalls &calls)
{
    InplaceProgram whole(stage().arguments());
    whole.prefix(calls.letThrough());
    QCOMPARE(whole.run(), 0);
    QVERIFY(m_rehearsal->isNew());
    m_renames = calls.calls();
    m_exchange = m_renames.indexOf(QStringLiteral("rename ") + stage().install) + 1;
    QVERIFY(m_exchange > 0);
    m_rehearsal->putBack();
}

void tst_InplaceTakeover::exchange_fails_nothingChanges_data()
{
    QTest::addColumn<int>("error");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("EIO") << EIO << QByteArray("Input/output error");
    QTest::newRow("EACCES") << EACCES << QByteArray("Permission denied");
    QTest::newRow("EBUSY") << EBUSY << QByteArray("Device or resource busy");
}

void tst_InplaceTakeover::exchange_fails_nothingChanges()
{
    QFETCH(int, error);
    QFETCH(QByteArray, reason);
    FailingCalls calls(stage().parent, {QStringLiteral("rename")});
    findRenames(calls);
    InplaceProgram struck(stage().arguments());
    struck.prefix(calls.failOnce(m_exchange, error));
    QCOMPARE(struck.run(), 1);
    QVERIFY(calls.hasFailed());
    QCOMPARE(struck.code(), QStringLiteral("exchange"));
    QCOMPARE(struck.report().value(QStringLiteral("update")).toBool(), false);
    QVERIFY2(struck.errors().contains(stage().install.toUtf8() + "失败:" + reason),
             struck.errors().constData());
    QCOMPARE(calls.count(), m_exchange); // two renames are for volumes that do not know it
    QCOMPARE(stage().differences(m_rehearsal->former), QString());
    QCOMPARE(m_rehearsal->mend(false), QString());
}

void tst_InplaceTakeover::renames_fail_nothingChanges_data()
{
    QTest::addColumn<int>("after"); // how many renames after the refused exchange
    QTest::addColumn<QString>("name");
    QTest::newRow("the kept tree out of the way") << 1 << Former;
    QTest::newRow("the installation out of the way") << 2 << "Sample.app";
    QTest::newRow("the new tree to its place") << 3 << ".Sample.app#new";
}

/// On a volume that cannot exchange two names.
void tst_InplaceTakeover::renames_fail_nothingChanges()
{
    QFETCH(int, after);
    QFETCH(QString, name);
    FailingCalls calls(stage().parent, {QStringLiteral("rename")});
    calls.preload(QStringLiteral(NO_EXCHANGE));
    findRenames(calls);
    const int number = m_exchange + after;
    QCOMPARE(m_renames.value(number - 1), QStringLiteral("rename ") + beside(name));
    InplaceProgram struck(stage().arguments());
    struck.prefix(calls.failOnce(number, EIO));
    QCOMPARE(struck.run(), 1);
    QVERIFY(calls.hasFailed());
    QCOMPARE(struck.code(), QStringLiteral("exchange"));
    QVERIFY2(struck.errors().contains("Input/output error"), struck.errors().constData());
    QCOMPARE(stage().differences(m_rehearsal->former), QString());
    QCOMPARE(m_rehearsal->mend(false), QString());
}

/// The one moment at which there is no installation.
void tst_InplaceTakeover::renames_allFail_theNextRunBringsItBack()
{
    FailingCalls calls(stage().parent, {QStringLiteral("rename")});
    calls.preload(QStringLiteral(NO_EXCHANGE));
    findRenames(calls);
    InplaceProgram struck(stage().arguments());
    struck.prefix(calls.failFrom(m_exchange + 3, EIO));
    QCOMPARE(struck.run(), 1);
    QCOMPARE(struck.code(), QStringLiteral("exchange"));
    QVERIFY(!QFileInfo::exists(stage().install));
    const Tree kept = WithoutManifest(ReadNodes(beside(Former)));
    QCOMPARE(Differences(kept, WithFolders(m_rehearsal->former.tree)), QString());
    QCOMPARE(m_rehearsal->mend(false), QString());
}

void tst_InplaceTakeover::renames_withoutBackup_leaveNothingBeside()
{
    FailingCalls calls(stage().parent, {QStringLiteral("rename")});
    calls.preload(QStringLiteral(NO_EXCHANGE));
    InplaceProgram program(stage().arguments({QStringLiteral("--no-backup")}));
    program.prefix(calls.letThrough());
    QCOMPARE(program.run(), 0);
    QVERIFY(calls.calls().contains(QStringLiteral("rename ") +
                                   beside(QStringLiteral(".Sample.app#new"))));
    QCOMPARE(stage().differences(m_rehearsal->release), QString());
    QCOMPARE(stage().leftovers(), QStringList());
}

void tst_InplaceTakeover::copy_ofAStoppedOne_isKnownByItsFiles_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<bool>("isKnown");
    QTest::newRow("whole") << "nothing" << true;
    QTest::newRow("with a file of other bytes") << "other bytes" << false;
    QTest::newRow("with a file missing") << "missing" << false;
}

/// A copy has folders of other numbers. So does a volume that numbers them anew, as some do.
void tst_InplaceTakeover::copy_ofAStoppedOne_isKnownByItsFiles()
{
    QFETCH(QString, what);
    QFETCH(bool, isKnown);
    FailingCalls calls(stage().parent, {QStringLiteral("rename")});
    findRenames(calls);
    InplaceProgram stopped(stage().arguments());
    stopped.prefix(calls.signalBefore(m_exchange + 1, SIGKILL));
    QCOMPARE(stopped.run(), -1);
    const QString copy = stage().temporary.filePath(QStringLiteral("copy"));
    QCOMPARE(QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), stage().parent, copy}),
             0);
    QVERIFY(QDir(stage().parent).removeRecursively());
    QVERIFY(QDir().rename(copy, stage().parent));
    const QString program = stage().install + QStringLiteral("/Contents/MacOS/Sample");
    if (what == QLatin1String("other bytes")) {
        WriteFile(program, QByteArray(ReadFile(program).size(), 'x'));
    } else if (what == QLatin1String("missing")) {
        QVERIFY(QFile::remove(program));
    }
    const QString list = stage().staging + QLatin1Char('/') + LOCAL_MD5_FILENAME;
    const QByteArray former = ManifestContent(m_rehearsal->former.manifest());
    const QByteArray release = ManifestContent(m_rehearsal->release.manifest());
    QCOMPARE(ReadFile(list), former);
    QCOMPARE(stage().run(), QStringLiteral("up-to-date")); // the property list has the number
    QCOMPARE(ReadFile(list), isKnown ? release : former);
    QCOMPARE(stage().differences(m_rehearsal->release).isEmpty(), isKnown);
    QCOMPARE(stage().run({QStringLiteral("--repair")}),
             isKnown ? QStringLiteral("up-to-date") : QStringLiteral("updated"));
    QCOMPARE(stage().differences(m_rehearsal->release), QString());
}

/// What stands where the previous tree would be cannot be the installation.
void tst_InplaceTakeover::install_gone_isSaid()
{
    QVERIFY(QDir(stage().install).removeRecursively());
    QVERIFY(QDir(beside(Former)).removeRecursively());
    WriteFile(beside(Former), "a file");
    QCOMPARE(stage().run(), QStringLiteral("folders"));
    QVERIFY(!QFileInfo::exists(stage().install));
    QCOMPARE(ReadFile(beside(Former)), QByteArray("a file"));
}

/// It is written in one step, so a piece of one was not written by the program.
void tst_InplaceTakeover::record_unreadable_isNoRecord()
{
    const QString path = stage().staging + QStringLiteral("/inplace_update#state/pending");
    WriteFile(path, "inplace_update pending 1\nand no more");
    QCOMPARE(m_rehearsal->mend(false), QString());
    QVERIFY(!QFileInfo::exists(path));
}

void tst_InplaceTakeover::record_cannotBeWritten_isRefused()
{
    const QString state = stage().staging + QStringLiteral("/inplace_update#state");
    QVERIFY(QDir(state).removeRecursively());
    WriteFile(state, "a file");
    QCOMPARE(stage().run(), QStringLiteral("storage"));
    QVERIFY2(stage().program().errors().contains(state.toUtf8()),
             stage().program().errors().constData());
    QCOMPARE(stage().differences(m_rehearsal->former), QString());
    QVERIFY(QFile::remove(state));
    QCOMPARE(m_rehearsal->mend(false), QString());
}

QTEST_GUILESS_MAIN(tst_InplaceTakeover)
#include "tst_inplace_takeover.moc"
