// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceProgram.h"
#include "tests/inplace/InplaceStage.h"
#include "tests/support/OrdinaryUser.h"

#include <QStandardPaths>
#include <QtTest>

namespace {

const auto Changed = QStringLiteral("d/changed");

/// Sets or clears the immutable attribute. False where there is none, or none may be set.
bool SetImmutable(const QString &path, bool immutable)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("chattr"));
    return !program.isEmpty() &&
           QProcess::execute(program,
                             {immutable ? QStringLiteral("+i") : QStringLiteral("-i"), path}) == 0;
}

} // namespace

/// Installations in which something must not be changed, or is in use.
class tst_InplaceObstacles : public QObject {
    Q_OBJECT

private slots:
    void readOnlyFolder_anyWhere_nothingIsLost_data();
    void readOnlyFolder_anyWhere_nothingIsLost();
    void immutable_anything_nothingIsLost_data();
    void immutable_anything_nothingIsLost();
    void linkToNothing_inTheWay_isNotFollowed();
    void heldFile_open_isReplaced_data();
    void heldFile_open_isReplaced();
    void heldFile_executed_isReplaced();
};

void tst_InplaceObstacles::readOnlyFolder_anyWhere_nothingIsLost_data()
{
    QTest::addColumn<QString>("folder");
    QTest::newRow("of a changed file") << "install/d";
    QTest::newRow("of an added file") << "install/new";
    QTest::newRow("of a staged file") << "staging/d";
}

void tst_InplaceObstacles::readOnlyFolder_anyWhere_nothingIsLost()
{
    QFETCH(QString, folder);
    InplaceStage stage;
    const QString path = stage.folders.temporary.filePath(folder);
    QVERIFY(QDir().mkpath(path));
    stage.folders.letAnyoneWrite();
    const FileMap before = stage.installed();
    QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x5055)));
    {
        const OrdinaryUser user;
        const Outcome outcome = stage.update();
        QVERIFY(!outcome.success && !outcome.update);
        QVERIFY2(outcome.message.contains(QStringLiteral("失败")), qPrintable(outcome.message));
    }
    QCOMPARE(stage.installed(), before);
    QVERIFY(!stage.staged().contains(QStringLiteral("inplace_update#journal")));
    QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x7077)));
    const Outcome outcome = stage.update();
    QVERIFY2(outcome.success, qPrintable(outcome.message));
    QCOMPARE(stage.installed(), InplaceStage::updated());
}

void tst_InplaceObstacles::immutable_anything_nothingIsLost_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("replaced"); // the files are, though not the manifest
    QTest::newRow("file") << "install/d/changed" << false;
    QTest::newRow("last file") << "install/z" << false;
    QTest::newRow("old copy") << "install/z.old" << false;
    QTest::newRow("folder") << "install/d" << false;
    QTest::newRow("installation") << "install" << false;
    QTest::newRow("staging folder") << "staging" << false;
    QTest::newRow("staged file") << "staging/z" << false;
    QTest::newRow("manifest") << "install/update_md5.info" << true;
}

void tst_InplaceObstacles::immutable_anything_nothingIsLost()
{
    QFETCH(QString, path);
    QFETCH(bool, replaced);
    InplaceStage stage;
    const QString whole = stage.folders.temporary.filePath(path);
    if (!QFile::exists(whole)) {
        WriteFile(whole, "of an earlier time");
    }
    const FileMap before = stage.installed();
    if (!SetImmutable(whole, true)) {
        QSKIP("Here nothing can be made immutable.");
    }
    const Outcome failure = stage.update();
    const FileMap after = stage.installed();
    QVERIFY(SetImmutable(whole, false));
    QVERIFY(!failure.success);
    QVERIFY(!failure.message.isEmpty());
    QCOMPARE(failure.update, replaced);
    QCOMPARE(WithoutKept(after),
             replaced ? WithoutKept(InplaceStage::updated()) : WithoutKept(before));
    QCOMPARE(
        LostFile(InplaceStage::oldRelease(), InplaceStage::newRelease(), stage.folders.install),
        QString());

    const Outcome outcome = stage.update();
    QVERIFY2(outcome.success, qPrintable(outcome.message));
    QCOMPARE(stage.installed(), InplaceStage::updated());
}

void tst_InplaceObstacles::linkToNothing_inTheWay_isNotFollowed()
{
    InplaceStage stage;
    const QString outside = stage.folders.temporary.filePath(QStringLiteral("outside"));
    const QString link = stage.installPath(QStringLiteral("z"));
    QVERIFY(QFile::remove(link) && QFile::link(outside, link));
    const FileMap before = stage.installed();
    const Outcome refusal = stage.update();
    QVERIFY(!refusal.success);
    QCOMPARE(refusal.message, link + QStringLiteral("是失效的链接，无法更新"));
    QVERIFY(!QFile::exists(outside));
    QVERIFY(QFileInfo(link).isSymLink());
    QCOMPARE(stage.installed(), before);
    QVERIFY(stage.staged().isEmpty());

    QVERIFY(QFile::remove(link));
    QVERIFY(stage.update().success);
    QCOMPARE(WithoutKept(stage.installed()), WithoutKept(InplaceStage::updated()));
}

void tst_InplaceObstacles::heldFile_open_isReplaced_data()
{
    QTest::addColumn<bool>("otherVolume");
    QTest::newRow("one volume") << false;
    QTest::newRow("two volumes") << true;
}

void tst_InplaceObstacles::heldFile_open_isReplaced()
{
    QFETCH(bool, otherVolume);
    InplaceStage stage;
    const QTemporaryDir other(QStringLiteral("/dev/shm/updater-test.XXXXXX"));
    if (otherVolume) {
        if (!other.isValid()) {
            QSKIP("There is no second volume here.");
        }
        stage.folders.staging = QDir(other.path());
    }
    const QByteArray old = InplaceStage::oldRelease().value(Changed);
    QFile held(stage.installPath(Changed));
    QVERIFY(held.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
    QCOMPARE(held.read(3), old.left(3));
    const uchar *mapped = held.map(0, held.size());
    QVERIFY(mapped);

    InplaceProgram program(stage.url(), stage.folders);
    QVERIFY2(program.run() == 0, program.errors().constData());

    QCOMPARE(stage.installed(), InplaceStage::updated());
    QCOMPARE(held.readAll(), old.mid(3));
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(mapped), old.size()), old);
}

void tst_InplaceObstacles::heldFile_executed_isReplaced()
{
    InplaceStage stage;
    const QByteArray sleep = ReadFile(QStandardPaths::findExecutable(QStringLiteral("sleep")));
    const auto tool = QStringLiteral("tool");
    WriteFile(stage.installPath(tool), sleep);
    QVERIFY(QFile::setPermissions(stage.installPath(tool), QFile::Permissions(0x7055)));
    FileMap release = InplaceStage::newRelease();
    release.insert(tool, "#!/bin/sh\necho new\n");
    stage.publish(release);

    ChildProcess holder;
    holder.start(stage.installPath(tool), {QStringLiteral("60")});
    QVERIFY(holder.waitForStarted());
    QFile inUse(stage.installPath(tool));
    QVERIFY(!inUse.open(QIODevice::ReadWrite)); // the system does not let it be written to
    InplaceProgram program(stage.url(), stage.folders);
    QVERIFY2(program.run() == 0, program.errors().constData());

    QCOMPARE(holder.state(), QProcess::Running);
    const QString image = QStringLiteral("/proc/%1/exe").arg(holder.processId());
    QCOMPARE(QFile::symLinkTarget(image), stage.installPath(tool + QStringLiteral(".old")));
    QVERIFY(ReadFile(image) == sleep);
    QCOMPARE(ReadFile(stage.installPath(tool)), release.value(tool));
    // It can even be done again while the first one still runs.
    release.insert(tool, "#!/bin/sh\necho newer\n");
    stage.publish(release);
    InplaceProgram again(stage.url(), stage.folders);
    QVERIFY2(again.run() == 0, again.errors().constData());
    QCOMPARE(ReadFile(stage.installPath(tool)), release.value(tool));
    QVERIFY(ReadFile(image) == sleep);
    holder.kill();
    QVERIFY(holder.waitForFinished());
}

QTEST_GUILESS_MAIN(tst_InplaceObstacles)
#include "tst_inplace_obstacles.moc"
