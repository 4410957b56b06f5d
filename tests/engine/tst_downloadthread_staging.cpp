// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/EngineFixture.h"
#include "tests/support/OrdinaryUser.h"

#include <QtTest>

#include <csignal>
#include <sys/resource.h>

#include <sys/stat.h>

/// How the worker deals with what is already in its staging folder.
class tst_DownloadThreadStaging : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void staged_rightContent_isSkipped();
    void staged_wrongContent_isOverwritten_data();
    void staged_wrongContent_isOverwritten();
    void staged_wrongContent_survivesAFailedDownload();
    void inTheWay_folder_isRemoved();
    void inTheWay_folderThatStays_fails();
    void inTheWay_fifo_isRemoved();
    void inTheWay_fifoThatStays_fails();
    void inTheWay_links_areFollowed_data();
    void inTheWay_links_areFollowed();
    void folder_missing_isMade();
    void folder_thatCannotBeMade_showsInTheWriting();
    void file_thatCannotBeOpened_fails_data();
    void file_thatCannotBeOpened_fails();
    void write_thatIsCutShort_isNotNoticed();

private:
    QString inTheWay() const { return m_folders->stagingPath(m_path); }
    bool fetch();

    const QString m_path = QStringLiteral("folder/file");
    QScopedPointer<UpdateFolders> m_folders;
    QScopedPointer<ScriptedServer> m_server;
    QScopedPointer<WorkerRun> m_run;
};

void tst_DownloadThreadStaging::init()
{
    m_folders.reset(new UpdateFolders);
    m_server.reset(new ScriptedServer(ServeFiles({{m_path, "content"}})));
}

void tst_DownloadThreadStaging::cleanup()
{
    m_run.reset();
    m_server.reset();
    m_folders.reset();
}

bool tst_DownloadThreadStaging::fetch()
{
    m_run.reset(new WorkerRun(m_server->url(QStringLiteral("/")), *m_folders,
                              {RecordOf(m_path, "content")}));
    return m_run->ended && m_run->worker.success() &&
           ReadFile(m_folders->installPath(m_path)) == "content";
}

void tst_DownloadThreadStaging::staged_rightContent_isSkipped()
{
    const FileMap release{{QStringLiteral("a"), "a"},
                          {QStringLiteral("b"), "b"},
                          {QStringLiteral("c"), "c"},
                          {QStringLiteral("d"), "d"}};
    QList<tagDownloadFileInfo> records;
    for (auto file = release.cbegin(); file != release.cend(); ++file) {
        records << RecordOf(file.key(), file.value());
    }
    WriteFile(m_folders->stagingPath(QStringLiteral("b")), "b");
    WriteFile(m_folders->stagingPath(QStringLiteral("c")), "c");
    const ScriptedServer server(ServeFiles(release));

    WorkerRun run(server.url(QStringLiteral("/")), *m_folders, records);

    QVERIFY(run.worker.success());
    QCOMPARE(run.started.size(), 1); // of a, begun by the constructor, nobody can hear
    QCOMPARE(run.started.first().at(1).toInt(), 3);
    QCOMPARE(run.started.first().at(2).toInt(), 4);
    QCOMPARE(server.requests().size(), 2);
    QCOMPARE(ReadTree(m_folders->install), release);
}

void tst_DownloadThreadStaging::staged_wrongContent_isOverwritten_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::newRow("short") << QByteArray("x");
    QTest::newRow("long") << QByteArray("much more than the content");
    QTest::newRow("as long") << QByteArray("c0ntent");
    QTest::newRow("empty") << QByteArray("");
}

void tst_DownloadThreadStaging::staged_wrongContent_isOverwritten()
{
    QFETCH(QByteArray, before);
    WriteFile(inTheWay(), before);
    QVERIFY(fetch());
}

void tst_DownloadThreadStaging::staged_wrongContent_survivesAFailedDownload()
{
    WriteFile(inTheWay(), "from before");
    m_server.reset(new ScriptedServer(ServeFiles({{m_path, "damaged"}})));
    QVERIFY(!fetch());
    QCOMPARE(m_run->worker.errormsg(), QStringLiteral("更新文件file校验不对"));
    QCOMPARE(ReadFile(inTheWay()), QByteArray("from before"));
}

void tst_DownloadThreadStaging::inTheWay_folder_isRemoved()
{
    WriteFile(inTheWay() + QStringLiteral("/deep/er/file"), "x");
    WriteFile(inTheWay() + QStringLiteral("/.hidden"), "x");
    QVERIFY(fetch());
}

void tst_DownloadThreadStaging::inTheWay_folderThatStays_fails()
{
    QVERIFY(QDir().mkpath(inTheWay()));
    m_folders->letAnyoneWrite();
    QVERIFY(QFile::setPermissions(m_folders->stagingPath(QStringLiteral("folder")),
                                  QFile::Permissions(0x5055)));
    const ReplyWatch watch;
    const OrdinaryUser user;

    // The failure comes inside the constructor, before anyone can listen.
    CDownloadThread worker(m_server->url(QStringLiteral("/")), m_folders->staging,
                           m_folders->install, {RecordOf(m_path, "content")});

    QCOMPARE(worker.errormsg(), QStringLiteral("路径%1被占用，无法删除!").arg(inTheWay()));
    QVERIFY(!worker.success());
    QVERIFY(!worker.isRunning());
    QCOMPARE(watch.alive(), 0);
    QVERIFY(QFileInfo(inTheWay()).isDir());
}

void tst_DownloadThreadStaging::inTheWay_fifo_isRemoved()
{
    QVERIFY(QDir().mkpath(m_folders->stagingPath(QStringLiteral("folder"))));
    QCOMPARE(::mkfifo(QFile::encodeName(inTheWay()).constData(), 0600), 0);
    QVERIFY(fetch());
}

void tst_DownloadThreadStaging::inTheWay_fifoThatStays_fails()
{
    const QString folder = m_folders->stagingPath(QStringLiteral("folder"));
    QVERIFY(QDir().mkpath(folder));
    QCOMPARE(::mkfifo(QFile::encodeName(inTheWay()).constData(), 0600), 0);
    m_folders->letAnyoneWrite();
    QVERIFY(QFile::setPermissions(folder, QFile::Permissions(0x5055)));
    const OrdinaryUser user;
    CDownloadThread worker(m_server->url(QStringLiteral("/")), m_folders->staging,
                           m_folders->install, {RecordOf(m_path, "content")});
    QCOMPARE(worker.errormsg(), QStringLiteral("路径%1被占用，无法删除!").arg(inTheWay()));
}

void tst_DownloadThreadStaging::inTheWay_links_areFollowed_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::newRow("to right content") << QByteArray("content");
    QTest::newRow("to wrong content") << QByteArray("x");
    QTest::newRow("to nothing") << QByteArray();
}

void tst_DownloadThreadStaging::inTheWay_links_areFollowed()
{
    QFETCH(QByteArray, target);
    const QString elsewhere = m_folders->temporary.filePath(QStringLiteral("elsewhere"));
    if (!target.isNull()) {
        WriteFile(elsewhere, target);
    }
    QVERIFY(QDir().mkpath(m_folders->stagingPath(QStringLiteral("folder"))));
    QVERIFY(QFile::link(elsewhere, inTheWay()));
    QVERIFY(fetch()); // the link itself is moved into the installation
    QVERIFY(QFileInfo(m_folders->installPath(m_path)).isSymLink());
    QCOMPARE(ReadFile(elsewhere), QByteArray("content"));
    QCOMPARE(m_server->requests().size(), target == "content" ? 0 : 1);
}

void tst_DownloadThreadStaging::folder_missing_isMade()
{
    QVERIFY(m_folders->staging.removeRecursively());
    QVERIFY(fetch());
    QVERIFY(QFileInfo(m_folders->stagingPath(QStringLiteral("folder"))).isDir());
}

void tst_DownloadThreadStaging::folder_thatCannotBeMade_showsInTheWriting()
{
    WriteFile(m_folders->stagingPath(QStringLiteral("folder")), "a file where a folder must be");
    QVERIFY(!fetch());
    QCOMPARE(m_run->worker.errormsg(), QStringLiteral("更新文件file写入失败"));
    QCOMPARE(m_server->requests().size(), 1);
    QCOMPARE(ReadFile(m_folders->stagingPath(QStringLiteral("folder"))),
             QByteArray("a file where a folder must be"));
}

void tst_DownloadThreadStaging::file_thatCannotBeOpened_fails_data()
{
    QTest::addColumn<int>("permissions");
    QTest::newRow("not to be written") << 0x4044;
    QTest::newRow("not to be read: it is opened for both") << 0x2022;
}

void tst_DownloadThreadStaging::file_thatCannotBeOpened_fails()
{
    QFETCH(int, permissions);
    WriteFile(inTheWay(), "in the way");
    QVERIFY(QFile::setPermissions(inTheWay(), QFile::Permissions(permissions)));
    m_folders->letAnyoneWrite();
    const ReplyWatch watch;
    const OrdinaryUser user;
    QVERIFY(!fetch());
    QCOMPARE(m_run->worker.errormsg(), QStringLiteral("更新文件file写入失败"));
    QCOMPARE(m_run->failed.first().at(0).value<QFileInfo>().absoluteFilePath(), inTheWay());
    QTRY_COMPARE(watch.alive(), 0);
    QCOMPARE(watch.released(), 1);
}

void tst_DownloadThreadStaging::write_thatIsCutShort_isNotNoticed()
{
    // As on a full disk: no file grows beyond three bytes.
    (void)std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit three{3, before.rlim_max};
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &three), 0);
    QVERIFY(!fetch()); // what is installed is not right
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &before), 0);

    QCOMPARE(m_run->worker.errormsg(), QStringLiteral("更新成功"));
    QVERIFY(m_run->worker.success());
    const FileMap installed = ReadTree(m_folders->install);
    QCOMPARE(installed.size(), 1);
    QCOMPARE(installed.first().size(), 3);
}

QTEST_GUILESS_MAIN(tst_DownloadThreadStaging)
#include "tst_downloadthread_staging.moc"
