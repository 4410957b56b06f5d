// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Journal.h"
#include "tests/inplace/InplaceStage.h"
#include "tests/support/OrdinaryUser.h"

#include <QLockFile>
#include <QtTest>

#include <csignal>
#include <sys/resource.h>

namespace {

/// Lets no file grow beyond some bytes, so that writes come out short as on a full volume.
class SmallFiles {
public:
    explicit SmallFiles(rlim_t bytes)
    {
        (void)std::signal(SIGXFSZ, SIG_IGN);
        (void)::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        (void)::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~SmallFiles() { (void)::setrlimit(RLIMIT_FSIZE, &m_before); }
    Q_DISABLE_COPY(SmallFiles)

private:
    rlimit m_before{};
};

const auto Changed = QStringLiteral("d/changed");
const auto Undone = QStringLiteral("(安装已恢复原状)");

} // namespace

/// Updates that fail, are refused, or were interrupted before.
class tst_InplaceFailure : public QObject {
    Q_OBJECT

private slots:
    void init();
    void refusal_folders_areNamed_data();
    void refusal_folders_areNamed();
    void refusal_folderInUse_isNamed_data();
    void refusal_folderInUse_isNamed();
    void lockFile_remnants_areNoLock_data();
    void lockFile_remnants_areNoLock();
    void refusal_folderNotWritable_isNamed_data();
    void refusal_folderNotWritable_isNamed();
    void refusal_tooLittleRoom_isTold();
    void refusal_unsafePath_nothingMoreIsFetched();
    void refusal_journalOfOthers_isLeftAlone();
    void failure_download_leavesTheInstallation_data();
    void failure_download_leavesTheInstallation();
    void failure_apply_isUndone();
    void failure_composedName_isUndone();
    void failure_shortWrite_isUndone();
    void failure_localManifest_isToldAfterTheUpdate();
    void interrupted_state_isCompleted_data();
    void interrupted_state_isCompleted();
    void interrupted_noServer_isPutRight();
    void interrupted_otherRelease_localManifestIsNotBelieved();
    void interrupted_thenFailing_journalStays();

private:
    void leaveJournal() const;
    QString journalPath() const
    {
        return m_stage->stagingPath(QStringLiteral("inplace_update#journal"));
    }

    QScopedPointer<InplaceStage> m_stage;
    FileMap m_before;
};

void tst_InplaceFailure::init()
{
    m_stage.reset(new InplaceStage);
    m_before = m_stage->installed();
}

/// Leaves the journal of an update that has changed nothing yet.
void tst_InplaceFailure::leaveJournal() const
{
    const Journal journal(m_stage->folders.staging, m_stage->folders.install);
    const auto localManifest = m_stage->installPath(QStringLiteral("update_md5.info"));
    QCOMPARE(journal.write(FindReplacements(ParseMd5File(ManifestOf(InplaceStage::newRelease())),
                                            localManifest, m_stage->folders.install)),
             QString());
}

void tst_InplaceFailure::refusal_folders_areNamed_data()
{
    QTest::addColumn<QString>("install");
    QTest::addColumn<QString>("staging");
    QTest::addColumn<QString>("text");
    QTest::newRow("no installation") << "missing"
                                     << "staging"
                                     << "不存在";
    QTest::newRow("the same") << "install"
                              << "install"
                              << "不能重叠";
    QTest::newRow("the same in other words") << "install"
                                             << "staging/../install"
                                             << "不能重叠";
    QTest::newRow("staging inside") << "install"
                                    << "install/staging"
                                    << "不能重叠";
    QTest::newRow("installation inside") << "install"
                                         << "."
                                         << "不能重叠";
    QTest::newRow("staging through a link") << "install"
                                            << "link/x"
                                            << "不能重叠";
    QTest::newRow("staging below a file") << "install"
                                          << "install/same/x"
                                          << "失败";
}

void tst_InplaceFailure::refusal_folders_areNamed()
{
    QFETCH(QString, install);
    QFETCH(QString, staging);
    QFETCH(QString, text);
    const QTemporaryDir &root = m_stage->folders.temporary;
    QVERIFY(QFile::link(m_stage->folders.install.path(), root.filePath(QStringLiteral("link"))));
    UpdateOptions options = m_stage->options();
    options.install = root.filePath(install);
    options.staging = root.filePath(staging);
    const Outcome outcome = UpdateInPlace(options);
    QVERIFY(!outcome.success);
    QVERIFY2(outcome.message.contains(text), qPrintable(outcome.message));
    QCOMPARE(m_stage->requested(), QStringList());
    QCOMPARE(m_stage->installed(), m_before);
}

void tst_InplaceFailure::refusal_folderInUse_isNamed_data()
{
    QTest::addColumn<bool>("install");
    QTest::newRow("installation") << true;
    QTest::newRow("staging") << false;
}

void tst_InplaceFailure::refusal_folderInUse_isNamed()
{
    QFETCH(bool, install);
    const QDir &folder = install ? m_stage->folders.install : m_stage->folders.staging;
    QLockFile lock(folder.filePath(QStringLiteral("inplace_update#lock")));
    QVERIFY(lock.tryLock());
    const Outcome outcome = m_stage->update();
    QVERIFY(!outcome.success);
    QCOMPARE(outcome.message, QStringLiteral("另一个升级正在使用目录") + folder.path());
    QCOMPARE(m_stage->requested(), QStringList());
    lock.unlock();
    QVERIFY(m_stage->update().success);
}

void tst_InplaceFailure::lockFile_remnants_areNoLock_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("content");
    const QByteArray dead = "999999999\ninplace_update\n\n";
    QTest::newRow("of a dead process") << QStringLiteral("inplace_update#lock") << dead;
    QTest::newRow("without content") << QStringLiteral("inplace_update#lock") << QByteArray("");
    QTest::newRow("whose number is this process's now")
        << QStringLiteral("inplace_update#lock")
        << QByteArray::number(QCoreApplication::applicationPid()) + "\ntst_inplace_failure\n" +
               QSysInfo::machineHostName().toUtf8() + '\n';
    QTest::newRow("of a removal") << QStringLiteral("inplace_update#lock.rmlock") << dead;
    QTest::newRow("of a removal, without content")
        << QStringLiteral("inplace_update#lock.rmlock") << QByteArray("");
}

void tst_InplaceFailure::lockFile_remnants_areNoLock()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, content);
    WriteFile(m_stage->installPath(QStringLiteral("inplace_update#lock")), content);
    WriteFile(m_stage->stagingPath(QStringLiteral("inplace_update#lock")), content);
    WriteFile(m_stage->installPath(name), content);
    const Outcome outcome = m_stage->update();
    QVERIFY2(outcome.success, qPrintable(outcome.message));
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
    QVERIFY(m_stage->staged().isEmpty());
}

void tst_InplaceFailure::refusal_folderNotWritable_isNamed_data()
{
    refusal_folderInUse_isNamed_data();
}

void tst_InplaceFailure::refusal_folderNotWritable_isNamed()
{
    QFETCH(bool, install);
    const QDir &folder = install ? m_stage->folders.install : m_stage->folders.staging;
    m_stage->folders.letAnyoneWrite();
    QVERIFY(QFile::setPermissions(folder.path(), QFile::Permissions(0x5055)));
    const OrdinaryUser user;
    const Outcome outcome = m_stage->update();
    QVERIFY(!outcome.success);
    QCOMPARE(outcome.message, QStringLiteral("目录%1无法写入").arg(folder.path()));
    QCOMPARE(m_stage->requested(), QStringList());
}

void tst_InplaceFailure::refusal_tooLittleRoom_isTold()
{
    FileMap published = Published(InplaceStage::newRelease());
    QByteArray &manifest = published[QStringLiteral("release/update_md5.info")];
    for (int file = 0; file < 10000; ++file) {
        manifest += "x\t70000000\tlarge/" + QByteArray::number(file) + '\n';
    }
    m_stage->serve(ServeFiles(published));
    const Outcome outcome = m_stage->update();
    QVERIFY(!outcome.success);
    QVERIFY2(outcome.message.contains(QStringLiteral("空间不足(需要3758103")),
             qPrintable(outcome.message));
    QCOMPARE(m_stage->requested().size(), 2);
    QCOMPARE(m_stage->installed(), m_before);
    QVERIFY(m_stage->staged().isEmpty());
}

void tst_InplaceFailure::refusal_unsafePath_nothingMoreIsFetched()
{
    FileMap published = Published(InplaceStage::newRelease());
    published[QStringLiteral("release/update_md5.info")] += "x\t1\t../outside\n";
    m_stage->serve(ServeFiles(published));
    QVERIFY(m_stage->update().message.contains(QStringLiteral("不安全")));
    QCOMPARE(m_stage->requested().size(), 2);
    QCOMPARE(m_stage->installed(), m_before);
}

void tst_InplaceFailure::refusal_journalOfOthers_isLeftAlone()
{
    const QByteArray journal = "inplace_update journal 1\t/\nx\tnothing\t\td/changed\n";
    WriteFile(journalPath(), journal);
    QVERIFY(!m_stage->update().success);
    QCOMPARE(ReadFile(journalPath()), journal);
    QCOMPARE(m_stage->installed(), m_before);
}

void tst_InplaceFailure::failure_download_leavesTheInstallation_data()
{
    QTest::addColumn<bool>("console");
    QTest::newRow("console") << true;
    QTest::newRow("windows") << false;
}

void tst_InplaceFailure::failure_download_leavesTheInstallation()
{
    QFETCH(bool, console);
    FileMap published = Published(InplaceStage::newRelease());
    published.remove(QStringLiteral("release/z"));
    m_stage->serve(ServeFiles(published));
    const Outcome outcome = m_stage->update(console);
    QVERIFY(!outcome.success);
    QVERIFY(!outcome.update);
    QCOMPARE(outcome.message, QStringLiteral("下载更新文件z网络错误"));
    QCOMPARE(m_stage->installed(), m_before);
    QCOMPARE(m_stage->staged().size(), 2); // the files, and no journal
}

void tst_InplaceFailure::failure_apply_isUndone()
{
    // The last file cannot be replaced: what its stale copy's name holds cannot be deleted.
    WriteFile(m_stage->installPath(QStringLiteral("z.old/inner")), "x");
    m_before = m_stage->installed();
    const Outcome outcome = m_stage->update();
    QVERIFY(!outcome.success);
    QVERIFY(!outcome.update);
    QCOMPARE(outcome.message, QStringLiteral("删除文件z.old失败") + Undone);
    QCOMPARE(m_stage->installed(), m_before);
    QVERIFY(!QFile::exists(m_stage->installPath(QStringLiteral("new"))));
    QVERIFY(!QFile::exists(journalPath()));
}

void tst_InplaceFailure::failure_composedName_isUndone()
{
    const auto name = QStringLiteral("z caf\u00E9");
    WriteFile(m_stage->installPath(name), "old");
    if (QFile::exists(m_stage->installPath(name.normalized(QString::NormalizationForm_D)))) {
        QSKIP("Here a composed name is found by its decomposed form.");
    }
    m_before = m_stage->installed();
    FileMap release = InplaceStage::newRelease();
    release.insert(name, "new");
    m_stage->publish(release);
    const Outcome outcome = m_stage->update();
    QCOMPARE(outcome.message,
             QStringLiteral("重命名%1为%1.old失败").arg(m_stage->installPath(name)) + Undone);
    QCOMPARE(m_stage->installed(), m_before);
}

void tst_InplaceFailure::failure_shortWrite_isUndone()
{
    // The worker does not look at what came of its writing; the verification does.
    FileMap release = InplaceStage::newRelease();
    release.insert(QStringLiteral("m"), QByteArray(100000, 'm'));
    m_stage->publish(release);
    {
        const SmallFiles limit(50000);
        const Outcome outcome = m_stage->update();
        QVERIFY(!outcome.success);
        QCOMPARE(outcome.message, QStringLiteral("安装后的文件m不对") + Undone);
    }
    QCOMPARE(m_stage->installed(), m_before);
    QVERIFY(m_stage->update().success);
    QCOMPARE(ReadFile(m_stage->installPath(QStringLiteral("m"))), QByteArray(100000, 'm'));
}

void tst_InplaceFailure::failure_localManifest_isToldAfterTheUpdate()
{
    const QString manifest = m_stage->installPath(QStringLiteral("update_md5.info"));
    QVERIFY(QFile::remove(manifest));
    WriteFile(manifest + QStringLiteral("/inner"), "x");
    const Outcome outcome = m_stage->update();
    QVERIFY(!outcome.success);
    QVERIFY(outcome.update);
    QVERIFY2(outcome.message.contains(manifest), qPrintable(outcome.message));
    QCOMPARE(ReadFile(m_stage->installPath(Changed)), InplaceStage::newRelease().value(Changed));
}

void tst_InplaceFailure::interrupted_state_isCompleted_data()
{
    QTest::addColumn<QByteArray>("file"); // null for nothing
    QTest::addColumn<QByteArray>("old");
    QTest::addColumn<bool>("staged");
    const QByteArray before = InplaceStage::oldRelease().value(Changed);
    const QByteArray after = InplaceStage::newRelease().value(Changed);
    QTest::newRow("before the first change") << before << QByteArray() << true;
    QTest::newRow("between the two renamings") << QByteArray() << before << true;
    QTest::newRow("in a copy from another volume") << after.left(5) << before << true;
    QTest::newRow("in a copy whose source is lost") << after.left(5) << before << false;
    QTest::newRow("after a copy, before its source was removed") << after << before << true;
    QTest::newRow("after it was applied") << after << before << false;
}

void tst_InplaceFailure::interrupted_state_isCompleted()
{
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, old);
    QFETCH(bool, staged);
    leaveJournal();
    QVERIFY(QFile::remove(m_stage->installPath(Changed)));
    if (!file.isNull()) {
        WriteFile(m_stage->installPath(Changed), file);
    }
    if (!old.isNull()) {
        WriteFile(m_stage->installPath(Changed + QStringLiteral(".old")), old);
    }
    if (staged) {
        WriteFile(m_stage->stagingPath(Changed), InplaceStage::newRelease().value(Changed));
    }
    const Outcome outcome = m_stage->update();
    QVERIFY2(outcome.success, qPrintable(outcome.message));
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
    QVERIFY(m_stage->staged().isEmpty());
}

void tst_InplaceFailure::interrupted_noServer_isPutRight()
{
    leaveJournal();
    const QString kept = m_stage->installPath(Changed + QStringLiteral(".old"));
    QVERIFY(QFile::rename(m_stage->installPath(Changed), kept));
    m_stage->serve(ServeFiles({}));
    QVERIFY(!m_stage->update().success);
    QCOMPARE(m_stage->installed(), m_before);
}

void tst_InplaceFailure::interrupted_otherRelease_localManifestIsNotBelieved()
{
    // The newer release was applied in part, then the older one is published again: the local
    // manifest lists what the older one wants, but that is not what lies there.
    leaveJournal();
    QVERIFY(QFile::rename(m_stage->installPath(Changed),
                          m_stage->installPath(Changed + QStringLiteral(".old"))));
    WriteFile(m_stage->installPath(Changed), InplaceStage::newRelease().value(Changed));
    m_stage->publish(InplaceStage::oldRelease());
    QVERIFY(m_stage->update().success);
    QCOMPARE(WithoutKept(m_stage->installed()), InplaceStage::oldRelease());
}

void tst_InplaceFailure::interrupted_thenFailing_journalStays()
{
    leaveJournal();
    WriteFile(m_stage->installPath(Changed), InplaceStage::newRelease().value(Changed));
    FileMap published = Published(InplaceStage::newRelease());
    published.remove(QStringLiteral("release/z"));
    m_stage->serve(ServeFiles(published));
    QVERIFY(!m_stage->update().success);
    QVERIFY(QFile::exists(journalPath())); // the local manifest is still wrong

    m_stage->publish(InplaceStage::newRelease());
    QVERIFY(m_stage->update().success);
    QVERIFY(!QFile::exists(journalPath()));
    QCOMPARE(WithoutKept(m_stage->installed()), WithoutKept(InplaceStage::updated()));
}

QTEST_MAIN(tst_InplaceFailure)
#include "tst_inplace_failure.moc"
