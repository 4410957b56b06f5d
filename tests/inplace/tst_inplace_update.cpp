// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceStage.h"

#include "app/FileNames.h"
#include "inplace/TreeList.h"
#include "release/FileCalls.h"

#include <QtTest>

#include <array>
#include <fcntl.h>

/// Whole updates with the real program.
class tst_InplaceUpdate : public QObject {
    Q_OBJECT

private slots:
    void init();
    void update_becomesTheRelease();
    void update_again_nothingIsDone();
    void update_keepsTheUsersOwn();
    void update_withoutManifest_aPlainFolderKeepsAll();
    void update_unchangedFiles_areShared();
    void fetchOnly_applyOnly_needNoNetwork();
    void applyOnly_nothingFetched_isRefused();
    void check_changesNothing();
    void check_withoutManifest_readsTheFiles();
    void undo_once();
    void undo_ofAnUnknownRelease_bringsItsTreeBack();
    void repair_bringsBackWhatDiffers();
    void repair_nothingWrong_changesNothing();
    void noBackup_leavesNothingBeside();
    void oldManifest_isInstalledAsEver();

private:
    static QString undoName() { return QStringLiteral(".Sample#previous"); }
    std::unique_ptr<InplaceStage> m_stage;
};

void tst_InplaceUpdate::init()
{
    m_stage = std::make_unique<InplaceStage>(QStringLiteral("Sample"), QDir::tempPath());
    m_stage->lay(InplaceStage::oldRelease());
    m_stage->publish(InplaceStage::newRelease());
}

void tst_InplaceUpdate::update_becomesTheRelease()
{
    const Tree before = m_stage->installed();
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->program().exitCode(), 0);
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
    QCOMPARE(ReadFile(m_stage->install + QLatin1Char('/') + LOCAL_MD5_FILENAME),
             ManifestContent(InplaceStage::newRelease().manifest()));
    QCOMPARE(m_stage->leftovers(), QStringList(undoName()));
    QCOMPARE(Differences(ReadNodes(m_stage->parent + QLatin1Char('/') + undoName()), before),
             QString());
    const QJsonObject report = m_stage->program().report();
    QCOMPARE(report.value(QStringLiteral("version")).toString(), QStringLiteral("1.1.0"));
    QCOMPARE(report.value(QStringLiteral("files")).toInt(), 5);
    QVERIFY(!QFileInfo::exists(m_stage->staging + QStringLiteral("/inplace_update#fetch")));
}

void tst_InplaceUpdate::update_again_nothingIsDone()
{
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    const Tree after = m_stage->installed();
    const int requests = m_stage->requested().size();
    QCOMPARE(m_stage->run(), QStringLiteral("up-to-date"));
    QCOMPARE(m_stage->requested().size(), requests + 2);
    QCOMPARE(Differences(m_stage->installed(), after), QString());
}

void tst_InplaceUpdate::update_keepsTheUsersOwn()
{
    const Tree users{{QStringLiteral("mine"), File("my own", 0640)},
                     {QStringLiteral("gone/mine too"), File("beside a dropped file")},
                     {QStringLiteral("gone"), Folder()},
                     {QStringLiteral("d/my link"), Link("/nowhere")},
                     {QStringLiteral("my folder"), Folder(0750)},
                     {QStringLiteral("my folder/empty"), Folder()}};
    LayNodes(m_stage->install, users);
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease(), users), QString());
}

void tst_InplaceUpdate::update_withoutManifest_aPlainFolderKeepsAll()
{
    QVERIFY(QFile::remove(m_stage->install + QLatin1Char('/') + LOCAL_MD5_FILENAME));
    Tree kept = WithFolders(InplaceStage::oldRelease().tree);
    const Tree release = WithFolders(InplaceStage::newRelease().tree);
    for (const QString &path : release.keys()) {
        kept.remove(path);
    }
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease(), kept), QString());
}

void tst_InplaceUpdate::update_unchangedFiles_areShared()
{
    const std::array<timespec, 2> times{timespec{1000, 0}, timespec{2000, 0}};
    const QByteArray same = QFile::encodeName(m_stage->install + QStringLiteral("/same"));
    QCOMPARE(::utimensat(AT_FDCWD, same.constData(), times.data(), 0), 0);
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QVERIFY(!m_stage->requested().contains(QStringLiteral("/1.1.0/same")));
    TreeEntries now;
    TreeEntries before;
    QCOMPARE(ListTree(QFile::encodeName(m_stage->install), now), QString());
    QCOMPARE(ListTree(QFile::encodeName(m_stage->parent + QLatin1Char('/') + undoName()), before),
             QString());
    const struct stat &shared = FindEntry(now, "same")->about;
    QCOMPARE(shared.st_ino, FindEntry(before, "same")->about.st_ino);
    if (QSysInfo::kernelType() == QLatin1String("linux")) {
        QCOMPARE(AccessTime(shared).tv_sec, 1000); // that it was read is not written to the disk
    }
}

void tst_InplaceUpdate::fetchOnly_applyOnly_needNoNetwork()
{
    const Tree before = m_stage->installed();
    QCOMPARE(m_stage->run({QStringLiteral("--fetch-only")}), QStringLiteral("ready"));
    QCOMPARE(Differences(m_stage->installed(), before), QString());
    m_stage->stopServing();
    const Tree users{{QStringLiteral("mine"), File("made in between")}};
    LayNodes(m_stage->install, users);
    QCOMPARE(m_stage->run({QStringLiteral("--apply-only")}), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease(), users), QString());
    QCOMPARE(m_stage->run({QStringLiteral("--apply-only")}), QStringLiteral("nothing-ready"));
}

void tst_InplaceUpdate::applyOnly_nothingFetched_isRefused()
{
    const Tree before = m_stage->installed();
    QCOMPARE(m_stage->run({QStringLiteral("--apply-only")}), QStringLiteral("nothing-ready"));
    QCOMPARE(m_stage->program().exitCode(), 1);
    QCOMPARE(Differences(m_stage->installed(), before), QString());
}

void tst_InplaceUpdate::check_changesNothing()
{
    const QString whole = m_stage->temporary.path();
    const Tree before = ReadNodes(whole);
    QCOMPARE(m_stage->run({QStringLiteral("--check")}), QStringLiteral("available"));
    const QJsonObject report = m_stage->program().report();
    QCOMPARE(report.value(QStringLiteral("update")).toBool(), true);
    QCOMPARE(report.value(QStringLiteral("forced")).toBool(), false);
    QCOMPARE(report.value(QStringLiteral("version")).toString(), QStringLiteral("1.1.0"));
    QCOMPARE(report.value(QStringLiteral("files")).toInt(), 5);
    QCOMPARE(report.value(QStringLiteral("bytes")).toInt(), 57);
    QCOMPARE(Differences(ReadNodes(whole), before), QString());
}

/// Files of the right size that no manifest tells about.
void tst_InplaceUpdate::check_withoutManifest_readsTheFiles()
{
    QVERIFY(QFile::remove(m_stage->install + QLatin1Char('/') + LOCAL_MD5_FILENAME));
    const auto toFetch = [this](const char *what) {
        return m_stage->run({QStringLiteral("--check")}) == QLatin1String("available")
                   ? m_stage->program().report().value(QLatin1String(what)).toInt()
                   : -1;
    };
    QCOMPARE(toFetch("files"), 5);
    QCOMPARE(toFetch("bytes"), 57);
    WriteFile(m_stage->install + QStringLiteral("/same"), "the salt");
    QCOMPARE(toFetch("files"), 6);
    QCOMPARE(toFetch("bytes"), 57 + 8);
    WriteFile(m_stage->install + QStringLiteral("/z"), "new z");
    QCOMPARE(toFetch("files"), 5);
    QCOMPARE(toFetch("bytes"), 57 + 8 - 5);
}

void tst_InplaceUpdate::undo_once()
{
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    const Tree users{{QStringLiteral("mine"), File("made after the update")}};
    LayNodes(m_stage->install, users);
    QCOMPARE(m_stage->run({QStringLiteral("--undo")}), QStringLiteral("undone"));
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease(), users), QString());
    QCOMPARE(m_stage->leftovers(), QStringList());
    QCOMPARE(m_stage->run({QStringLiteral("--undo")}), QStringLiteral("nothing-to-undo"));
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease(), users), QString());
}

void tst_InplaceUpdate::undo_ofAnUnknownRelease_bringsItsTreeBack()
{
    QVERIFY(QFile::remove(m_stage->install + QLatin1Char('/') + LOCAL_MD5_FILENAME));
    LayNodes(m_stage->install, {{QStringLiteral("mine"), File("made before the update")}});
    const Tree before = m_stage->installed();
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QVERIFY(QFile::remove(m_stage->install + QStringLiteral("/mine")));
    LayNodes(m_stage->install, {{QStringLiteral("mine"), File("replaced since")},
                                {QStringLiteral("later"), File("made since")}});
    QCOMPARE(m_stage->run({QStringLiteral("--undo")}), QStringLiteral("undone"));
    QCOMPARE(Differences(m_stage->installed(), before), QString());
    QCOMPARE(m_stage->leftovers(), QStringList());
    QCOMPARE(m_stage->run({QStringLiteral("--undo")}), QStringLiteral("nothing-to-undo"));
}

void tst_InplaceUpdate::repair_bringsBackWhatDiffers()
{
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    WriteFile(m_stage->install + QStringLiteral("/d/changed"), "new content, which is LONGER");
    QVERIFY(QFile::remove(m_stage->install + QStringLiteral("/z")));
    QVERIFY(QFile::remove(m_stage->install + QStringLiteral("/link")));
    QVERIFY(QFile::link(QStringLiteral("z"), m_stage->install + QStringLiteral("/link")));
    QVERIFY(QFile::setPermissions(m_stage->install + QStringLiteral("/same"),
                                  QFile::ReadOwner | QFile::WriteOwner));
    QCOMPARE(m_stage->run(), QStringLiteral("up-to-date"));
    QCOMPARE(m_stage->run({QStringLiteral("--repair")}), QStringLiteral("repaired"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
    QCOMPARE(m_stage->program().report().value(QStringLiteral("files")).toInt(), 2);
}

void tst_InplaceUpdate::repair_nothingWrong_changesNothing()
{
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    const QStringList before = m_stage->leftovers();
    struct stat one {};
    struct stat other {};
    QCOMPARE(::stat(QFile::encodeName(m_stage->install).constData(), &one), 0);
    QCOMPARE(m_stage->run({QStringLiteral("--repair")}), QStringLiteral("up-to-date"));
    QCOMPARE(::stat(QFile::encodeName(m_stage->install).constData(), &other), 0);
    QCOMPARE(other.st_ino, one.st_ino);
    QCOMPARE(m_stage->leftovers(), before);
}

void tst_InplaceUpdate::noBackup_leavesNothingBeside()
{
    QCOMPARE(m_stage->run({QStringLiteral("--no-backup")}), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
    QCOMPARE(m_stage->leftovers(), QStringList());
}

void tst_InplaceUpdate::oldManifest_isInstalledAsEver()
{
    TestRelease release;
    release.isComplete = false;
    release.tree = {{QStringLiteral("d/changed"), File("new content")},
                    {QStringLiteral("d/program"), File("#!/bin/sh\necho new\n", 0755)},
                    {QStringLiteral("new/script"), File("#!/bin/sh\n", 0755)}};
    m_stage->publish(release);
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(release), QString());
}

QTEST_GUILESS_MAIN(tst_InplaceUpdate)
#include "tst_inplace_update.moc"
