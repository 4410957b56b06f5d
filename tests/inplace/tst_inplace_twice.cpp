// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceProgram.h"

#include <QtTest>

#include <atomic>

namespace {

const auto InUse = QStringLiteral("另一个升级正在使用目录");

/// Lets a program start, that waits for a file to be there, all at once.
QString WaitFor(const QString &file)
{
    return QStringLiteral("while ! [ -e '%1' ]; do :; done").arg(file);
}

} // namespace

/// Two updates at the same instant, again and again: UPDATER_ROUNDS times.
class tst_InplaceTwice : public QObject {
    Q_OBJECT

private slots:
    void update_twoAtOnce_oneIsRefused_data();
    void update_twoAtOnce_oneIsRefused();
};

void tst_InplaceTwice::update_twoAtOnce_oneIsRefused_data()
{
    QTest::addColumn<bool>("sameInstall");
    QTest::addColumn<bool>("sameStaging");
    QTest::newRow("both folders") << true << true;
    QTest::newRow("the installation") << true << false;
    QTest::newRow("the staging folder") << false << true;
}

void tst_InplaceTwice::update_twoAtOnce_oneIsRefused()
{
    QFETCH(bool, sameInstall);
    QFETCH(bool, sameStaging);
    const FileMap before{{QStringLiteral("a"), "old a"}, {QStringLiteral("b/c"), "old c"}};
    const FileMap release{{QStringLiteral("a"), "new a"}, {QStringLiteral("b/c"), "new c"}};
    const FileMap served = Published(release);
    std::atomic<bool> oneHasEnded{false};
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &request) {
        while (!oneHasEnded) {
            connection.pause(1);
        }
        ServeFiles(served)(connection, request);
    });

    const int rounds = qMax(5, qEnvironmentVariableIntValue("UPDATER_ROUNDS"));
    int firstRefused = 0;
    for (int round = 0; round < rounds; ++round) {
        const UpdateFolders folders;
        UpdateFolders others;
        others.install = sameInstall ? folders.install : others.install;
        others.staging = sameStaging ? folders.staging : others.staging;
        LayInstallation(folders.install, before);
        LayInstallation(others.install, before);
        oneHasEnded = false;
        InplaceProgram first(server.url(QString()), folders);
        InplaceProgram second(server.url(QString()), others);
        const QString go = folders.temporary.filePath(QStringLiteral("go"));
        first.start(WaitFor(go));
        second.start(WaitFor(go));
        WriteFile(go, "");
        while (!first.waitForEnd(1) && !second.waitForEnd(1)) {
        }
        oneHasEnded = true;
        QVERIFY(first.waitForEnd() && second.waitForEnd());

        const bool refusedFirst = first.exitCode() != 0;
        firstRefused += refusedFirst ? 1 : 0;
        const InplaceProgram &refused = refusedFirst ? first : second;
        const InplaceProgram &done = refusedFirst ? second : first;
        QVERIFY2(refused.exitCode() == 1 && refused.report().contains(InUse),
                 refused.errors().constData());
        QVERIFY2(done.exitCode() == 0, done.errors().constData());
        const UpdateFolders &updated = refusedFirst ? others : folders;
        const UpdateFolders &untouched = refusedFirst ? folders : others;
        QCOMPARE(ReadTree(updated.install), Updated(before, release));
        QCOMPARE(WithoutKept(ReadTree(untouched.install)), sameInstall ? release : before);
        QCOMPARE(ReadTree(folders.staging).keys() + ReadTree(others.staging).keys(), QStringList());
    }
    qInfo("%d rounds, in %d of them the first was refused", rounds, firstRefused);
}

QTEST_GUILESS_MAIN(tst_InplaceTwice)
#include "tst_inplace_twice.moc"
