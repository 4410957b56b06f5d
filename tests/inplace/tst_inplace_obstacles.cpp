// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeList.h"
#include "tests/inplace/InplaceStage.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/OwnNamespaces.h"

#include <QtTest>

#include <cerrno>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uid_t Nobody = 65534;

/// Runs the program as a user other than root.
const QStringList AsNobody{QStringLiteral("setpriv"), QStringLiteral("--reuid=65534"),
                           QStringLiteral("--regid=65534"), QStringLiteral("--clear-groups")};

QByteArray Bytes(const QString &path)
{
    return QFile::encodeName(path);
}

/// Gives a folder and everything in it to a user.
void Give(const QString &folder, uid_t user)
{
    const QString owner = QStringLiteral("%1:%1").arg(user);
    QCOMPARE(QProcess::execute(QStringLiteral("chown"), {QStringLiteral("-hR"), owner, folder}), 0);
}

/// Returns the first entry that does not belong to a user.
QString NotOf(const QString &folder, uid_t user)
{
    TreeEntries entries;
    (void)ListTree(Bytes(folder), entries); // the caller's test notices an empty list
    for (const TreeEntry &entry : entries) {
        if (entry.about.st_uid != user || entry.about.st_gid != user) {
            return QFile::decodeName(entry.path);
        }
    }
    return entries.empty() ? QStringLiteral("nothing there") : QString();
}

} // namespace

/// Obstacles to an update: each is refused before a file is requested, with its own word, and
/// nothing changes.
class tst_InplaceObstacles : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void folders_refused_data();
    void folders_refused();
    void staging_refused_isNotMade();
    void parent_notWritable_isRefused();
    void parent_sticky_isRefused();
    void install_mounted_isRefused();
    void install_holdsAVolume_isRefused();
    void install_onReadOnlyVolume_isRefused();
    void room_tooLittle_isRefused();
    void room_forTheChangedFilesIsEnough();
    void names_unstorable_areRefused();
    void root_stagingOfOthers_isRefused_data();
    void root_stagingOfOthers_isRefused();
    void root_filesStayTheirOwners();
    void user_updatesWhatIsTheirs();
    void user_foldersKeepTheirGroup();
    void user_filesOfOthers_areReplacedByCopies();
    void copiedFile_changedMeanwhile_isCopiedAgain();
    void special_filesAtListedPaths_hangNothing();
    void immutable_file_isNoObstacleBeforeTheExchange();
    void parent_notDurable_isNamedWithTheReason();
    void lock_ofTheFileSystem_isNotNeeded();
    void locks_unknown_areNotNeeded();

private:
    void refuse(const QString &code, const QStringList &wrapper = QStringList());

    bool m_ownMounts = false;
    std::unique_ptr<InplaceStage> m_stage;
};

void tst_InplaceObstacles::initTestCase()
{
    m_ownMounts = EnterOwnNamespaces(OwnMounts);
}

void tst_InplaceObstacles::init()
{
    m_stage = std::make_unique<InplaceStage>(QStringLiteral("Sample"));
    m_stage->lay(InplaceStage::oldRelease());
    m_stage->publish(InplaceStage::newRelease());
}

void tst_InplaceObstacles::refuse(const QString &code, const QStringList &wrapper)
{
    const Tree before = ReadNodes(m_stage->temporary.path());
    InplaceProgram program(m_stage->arguments());
    program.prefix(wrapper);
    QCOMPARE(program.run(), 1);
    QCOMPARE(program.code(), code);
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
    for (const QString &path : m_stage->requested()) {
        QVERIFY2(path.endsWith(QLatin1String("update.json")) ||
                     path.endsWith(QLatin1String("update_md5.info")),
                 qPrintable(path));
    }
    QVERIFY(before.contains(QStringLiteral("around/Sample")));
}

void tst_InplaceObstacles::folders_refused_data()
{
    QTest::addColumn<QString>("install");
    QTest::addColumn<QString>("staging");
    QTest::addColumn<QString>("code");
    QTest::newRow("no installation") << "around/Other"
                                     << "staging"
                                     << "folders";
    QTest::newRow("a file") << "around/Sample/z"
                            << "staging"
                            << "folders";
    QTest::newRow("staging in the installation") << "around/Sample"
                                                 << "around/Sample/s"
                                                 << "folders";
    QTest::newRow("staging is the installation") << "around/Sample"
                                                 << "around/Sample"
                                                 << "folders";
    QTest::newRow("staging around it") << "around/Sample"
                                       << "around"
                                       << "folders";
    QTest::newRow("staging in it by a link") << "around/Sample"
                                             << "link/s"
                                             << "folders";
    QTest::newRow("staging is a file") << "around/Sample"
                                       << "file"
                                       << "folders";
    QTest::newRow("staging below a file") << "around/Sample"
                                          << "file/s"
                                          << "not-writable";
    QTest::newRow("staging is the new tree") << "around/Sample"
                                             << "around/.Sample#new"
                                             << "folders";
}

void tst_InplaceObstacles::folders_refused()
{
    QFETCH(QString, install);
    QFETCH(QString, staging);
    QFETCH(QString, code);
    QVERIFY(QFile::link(m_stage->install, m_stage->temporary.filePath(QStringLiteral("link"))));
    WriteFile(m_stage->temporary.filePath(QStringLiteral("file")), "a file");
    const Tree before = ReadNodes(m_stage->temporary.path());
    m_stage->install = m_stage->temporary.filePath(install);
    m_stage->staging = m_stage->temporary.filePath(staging);
    QCOMPARE(m_stage->run(), code);
    QCOMPARE(Differences(ReadNodes(m_stage->temporary.path()), before), QString());
    QCOMPARE(m_stage->requested(), QStringList());
}

void tst_InplaceObstacles::staging_refused_isNotMade()
{
    m_stage->staging = m_stage->install + QStringLiteral("/deep/staging");
    QCOMPARE(m_stage->run(), QStringLiteral("folders"));
    QVERIFY(!QFile::exists(m_stage->install + QStringLiteral("/deep")));
}

void tst_InplaceObstacles::parent_notWritable_isRefused()
{
    if (::geteuid() != 0) {
        QSKIP("Only root can become another user.");
    }
    QCOMPARE(::chmod(Bytes(m_stage->temporary.path()).constData(), 0777), 0);
    Give(m_stage->install, Nobody);
    refuse(QStringLiteral("not-writable"), AsNobody);
    QVERIFY(!QFile::exists(m_stage->staging));
}

void tst_InplaceObstacles::parent_sticky_isRefused()
{
    if (::geteuid() != 0) {
        QSKIP("Only root can become another user.");
    }
    QCOMPARE(::chmod(Bytes(m_stage->temporary.path()).constData(), 0777), 0);
    QCOMPARE(::chmod(Bytes(m_stage->parent).constData(), 01777), 0);
    refuse(QStringLiteral("not-writable"), AsNobody);
}

void tst_InplaceObstacles::install_mounted_isRefused()
{
    if (!m_ownMounts) {
        QSKIP("No mounts of its own.");
    }
    const QByteArray install = Bytes(m_stage->install);
    QCOMPARE(::mount(install.constData(), install.constData(), nullptr, MS_BIND, nullptr), 0);
    refuse(QStringLiteral("mount-point"));
    QCOMPARE(::umount(install.constData()), 0);
}

void tst_InplaceObstacles::install_holdsAVolume_isRefused()
{
    if (!m_ownMounts) {
        QSKIP("No mounts of its own.");
    }
    const QByteArray inner = Bytes(m_stage->install + QStringLiteral("/d"));
    QCOMPARE(::mount(inner.constData(), inner.constData(), nullptr, MS_BIND, nullptr), 0);
    refuse(QStringLiteral("mount-point"));
    QCOMPARE(::umount(inner.constData()), 0);
}

void tst_InplaceObstacles::install_onReadOnlyVolume_isRefused()
{
    if (!m_ownMounts) {
        QSKIP("No mounts of its own.");
    }
    const QByteArray parent = Bytes(m_stage->parent);
    QCOMPARE(::mount(parent.constData(), parent.constData(), nullptr, MS_BIND, nullptr), 0);
    QCOMPARE(
        ::mount(nullptr, parent.constData(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr),
        0);
    refuse(QStringLiteral("read-only"));
    QCOMPARE(::umount(parent.constData()), 0);
}

void tst_InplaceObstacles::room_tooLittle_isRefused()
{
    if (!m_ownMounts) {
        QSKIP("No mounts of its own.");
    }
    // The volume has 64 MiB and some, of which the installation takes a part.
    const QByteArray parent = Bytes(m_stage->parent);
    QCOMPARE(::mount("none", parent.constData(), "tmpfs", 0, "size=66m"), 0);
    m_stage->lay(InplaceStage::oldRelease());
    TestRelease release = InplaceStage::newRelease();
    release.tree.insert(QStringLiteral("big"), File(QByteArray(3 << 20, 'b')));
    m_stage->publish(release);
    QCOMPARE(m_stage->run(), QStringLiteral("no-room"));
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
    QVERIFY(!m_stage->requested().contains(QStringLiteral("/1.1.0/big")));
    QCOMPARE(::umount(parent.constData()), 0);
}

void tst_InplaceObstacles::room_forTheChangedFilesIsEnough()
{
    if (!m_ownMounts) {
        QSKIP("No mounts of its own.");
    }
    const QByteArray parent = Bytes(m_stage->parent);
    QCOMPARE(::mount("none", parent.constData(), "tmpfs", 0, "size=110m"), 0);
    const Node big = File(QByteArray(40 << 20, 'b')); // there is no room for it twice
    TestRelease before = InplaceStage::oldRelease();
    before.tree.insert(QStringLiteral("big"), big);
    TestRelease release = InplaceStage::newRelease();
    release.tree.insert(QStringLiteral("big"), big);
    m_stage->lay(before);
    m_stage->publish(release);
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(release), QString());
    QCOMPARE(::umount(parent.constData()), 0);
}

/// A volume that refuses a name, as some refuse ':' and '*', simulated by a failing call.
void tst_InplaceObstacles::names_unstorable_areRefused()
{
    TestRelease release = InplaceStage::newRelease();
    release.tree.insert(QStringLiteral("a: b*c"), File("b"));
    m_stage->publish(release);
    FailingCalls calls(m_stage->parent + QStringLiteral("/.Sample#probe"),
                       {QStringLiteral("open")});
    refuse(QStringLiteral("names"), calls.failOnce(1, EINVAL));
    QVERIFY(calls.hasFailed());
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
}

void tst_InplaceObstacles::root_stagingOfOthers_isRefused_data()
{
    QTest::addColumn<uint>("owner");
    QTest::addColumn<uint>("mode");
    QTest::newRow("of another user") << uint{Nobody} << 0755U;
    QTest::newRow("open to the group") << 0U << 0775U;
    QTest::newRow("open to all") << 0U << 0777U;
}

void tst_InplaceObstacles::root_stagingOfOthers_isRefused()
{
    if (::geteuid() != 0) {
        QSKIP("It concerns root alone.");
    }
    QFETCH(uint, owner);
    QFETCH(uint, mode);
    QVERIFY(QDir().mkpath(m_stage->staging));
    QCOMPARE(::chmod(Bytes(m_stage->staging).constData(), mode), 0);
    QCOMPARE(::chown(Bytes(m_stage->staging).constData(), owner, owner), 0);
    refuse(QStringLiteral("staging-owner"));
    QCOMPARE(m_stage->requested(), QStringList());
}

void tst_InplaceObstacles::root_filesStayTheirOwners()
{
    if (::geteuid() != 0) {
        QSKIP("It concerns root alone.");
    }
    Give(m_stage->install, Nobody);
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
    QCOMPARE(NotOf(m_stage->install, Nobody), QString());
    struct stat about {};
    QCOMPARE(::stat(Bytes(m_stage->install).constData(), &about), 0);
    QCOMPARE(about.st_uid, Nobody);
}

void tst_InplaceObstacles::user_updatesWhatIsTheirs()
{
    if (::geteuid() != 0) {
        QSKIP("Only root can become another user.");
    }
    QVERIFY(QDir().mkpath(m_stage->staging));
    Give(m_stage->temporary.path(), Nobody);
    InplaceProgram program(m_stage->arguments());
    program.prefix(AsNobody);
    QCOMPARE(program.run(), 0);
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
    QCOMPARE(NotOf(m_stage->install, Nobody), QString());
}

void tst_InplaceObstacles::user_foldersKeepTheirGroup()
{
    if (::geteuid() != 0) {
        QSKIP("Only root can become another user.");
    }
    constexpr gid_t group = 54321;
    QVERIFY(QDir().mkpath(m_stage->staging));
    Give(m_stage->temporary.path(), Nobody);
    QCOMPARE(QProcess::execute(QStringLiteral("chgrp"),
                               {QStringLiteral("-hR"), QString::number(group), m_stage->install}),
             0);
    InplaceProgram program(m_stage->arguments());
    program.prefix({QStringLiteral("setpriv"), QStringLiteral("--reuid=65534"),
                    QStringLiteral("--regid=65534"), QStringLiteral("--groups=54321")});
    QCOMPARE(program.run(), 0);
    TreeEntries entries;
    QCOMPARE(ListTree(Bytes(m_stage->install), entries), QString());
    for (const TreeEntry &entry : entries) {
        QVERIFY2(entry.kind != EntryKind::Folder || entry.about.st_gid == group,
                 entry.path.constData());
    }
}

/// A file that may be read but not linked, under the system's own protection of links.
void tst_InplaceObstacles::user_filesOfOthers_areReplacedByCopies()
{
    if (::geteuid() != 0) {
        QSKIP("Only root can become another user.");
    }
    QVERIFY(QDir().mkpath(m_stage->staging));
    Give(m_stage->temporary.path(), Nobody);
    QCOMPARE(::chown(Bytes(m_stage->install + QStringLiteral("/same")).constData(), 0, 0), 0);
    InplaceProgram program(m_stage->arguments());
    program.prefix(AsNobody);
    QCOMPARE(program.run(), 0);
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
}

void tst_InplaceObstacles::special_filesAtListedPaths_hangNothing()
{
    const QString path = m_stage->install + QStringLiteral("/z");
    const QString fetch = m_stage->staging + QStringLiteral("/inplace_update#fetch");
    QVERIFY(QFile::remove(path));
    QVERIFY(QDir().mkpath(fetch));
    QCOMPARE(::mkfifo(Bytes(path).constData(), 0644), 0);
    QCOMPARE(::mkfifo(Bytes(fetch + QStringLiteral("/z")).constData(), 0644), 0);
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
}

void tst_InplaceObstacles::immutable_file_isNoObstacleBeforeTheExchange()
{
    const QString path = m_stage->install + QStringLiteral("/same");
    const QString chattr = QStringLiteral("chattr");
    if (::geteuid() != 0 || QProcess::execute(chattr, {QStringLiteral("+i"), path}) != 0) {
        QSKIP("No file can be made immutable here.");
    }
    const QString code = m_stage->run(); // it can be copied, but not linked
    const QString now = m_stage->parent + QStringLiteral("/.Sample#previous/same");
    QCOMPARE(QProcess::execute(chattr, {QStringLiteral("-i"), now}), 0);
    QCOMPARE(code, QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
}

/// A file that may only be appended to cannot be linked, so the new tree has a copy of it.
void tst_InplaceObstacles::copiedFile_changedMeanwhile_isCopiedAgain()
{
    const QString path = m_stage->install + QStringLiteral("/mine");
    WriteFile(path, "before");
    const QString chattr = QStringLiteral("chattr");
    if (::geteuid() != 0 || QProcess::execute(chattr, {QStringLiteral("+a"), path}) != 0) {
        QSKIP("No file can be made append-only here.");
    }
    FailingCalls calls(m_stage->parent + QStringLiteral("/.Sample#new"), {QStringLiteral("sync")});
    InplaceProgram program(m_stage->arguments());
    program.prefix(calls.signalBefore(3, SIGSTOP)); // two for the manifest, then the whole tree
    program.start();
    const QString state = QStringLiteral("/proc/%1/stat").arg(program.processId());
    QTRY_VERIFY_WITH_TIMEOUT(ReadFile(state).contains(") T "), 20000);
    const bool isCopied = QFile::exists(m_stage->parent + QStringLiteral("/.Sample#new/mine"));
    QFile file(path);
    const bool isWritten = file.open(QIODevice::Append) && file.write(" and after") > 0;
    file.close();
    QVERIFY(program.send(SIGCONT));
    QVERIFY(program.waitForEnd());
    const QString former = m_stage->parent + QStringLiteral("/.Sample#previous/mine");
    QCOMPARE(QProcess::execute(chattr, {QStringLiteral("-a"), former}), 0);
    QVERIFY(isCopied && isWritten);
    QCOMPARE(program.code(), QStringLiteral("updated"));
    QCOMPARE(ReadFile(path), QByteArray("before and after"));
}

void tst_InplaceObstacles::parent_notDurable_isNamedWithTheReason()
{
    int number = 0;
    {
        FailingCalls calls(m_stage->parent, {QStringLiteral("sync")});
        InplaceProgram whole(m_stage->arguments());
        whole.prefix(calls.letThrough());
        QCOMPARE(whole.run(), 0);
        number = 1 + calls.calls().indexOf(QStringLiteral("sync ") + m_stage->parent);
        QVERIFY(number > 0);
    }
    init();
    FailingCalls calls(m_stage->parent, {QStringLiteral("sync")});
    InplaceProgram program(m_stage->arguments());
    program.prefix(calls.failOnce(number, EIO));
    QCOMPARE(program.run(), 1);
    QVERIFY(calls.hasFailed());
    QCOMPARE(program.code(), QStringLiteral("storage"));
    QVERIFY2(program.errors().contains(Bytes(m_stage->parent) + ": Input/output error"),
             program.errors().constData());
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
}

void tst_InplaceObstacles::lock_ofTheFileSystem_isNotNeeded()
{
    // The lock file of a killed run is no obstacle, whichever process has its number now.
    WriteFile(m_stage->parent + QStringLiteral("/.Sample#lock"), "");
    QVERIFY(QDir().mkpath(m_stage->staging));
    WriteFile(m_stage->staging + QStringLiteral("/inplace_update#lock"),
              "1\nx\n" + QSysInfo::machineHostName().toUtf8() + '\n');
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
}

/// On a volume that knows no locks the lock files alone keep others away.
void tst_InplaceObstacles::locks_unknown_areNotNeeded()
{
    FailingCalls calls(m_stage->temporary.path(), {QStringLiteral("lock")});
    InplaceProgram program(m_stage->arguments());
    program.prefix(calls.failFrom(1, ENOLCK));
    QCOMPARE(program.run(), 0);
    QVERIFY(calls.hasFailed());
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
    WriteFile(m_stage->parent + QStringLiteral("/.Sample#lock"), "");
    InplaceProgram other(m_stage->arguments());
    other.prefix(calls.failFrom(1, ENOLCK));
    QCOMPARE(other.run(), 1);
    QCOMPARE(other.code(), QStringLiteral("busy"));
}

QTEST_GUILESS_MAIN(tst_InplaceObstacles)
#include "tst_inplace_obstacles.moc"
