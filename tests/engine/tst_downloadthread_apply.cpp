// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/EngineFixture.h"
#include "tests/support/OrdinaryUser.h"

#include <QtTest>

#include <functional>
#include <sys/stat.h>

/// How staged files get into the installation. Everything is staged already, so that the worker
/// ends inside its constructor.
class tst_DownloadThreadApply : public QObject {
    Q_OBJECT

private slots:
    void init();
    void apply_existingFile_isKeptAsOld_data();
    void apply_existingFile_isKeptAsOld();
    void apply_staleOld_isReplaced();
    void apply_newFile_getsItsFoldersAndNoOld();
    void apply_otherFiles_areLeftAlone();
    void apply_listedTwice_failsAtTheSecond();
    void apply_targetFolder_isMovedAside();
    void apply_danglingLink_cannotBeOverwritten();
    void apply_names_renamedDecomposed_data();
    void apply_names_renamedDecomposed();
    void failure_names_theFileOfTheInstallation_data();
    void failure_names_theFileOfTheInstallation();
    void failure_inAnyRecord_leavesTheRest_data();
    void failure_inAnyRecord_leavesTheRest();

private:
    void stage(const QString &path, const QByteArray &content);
    void install(const QString &path, const QByteArray &content);
    /// Lets a worker apply what was staged, and returns its message.
    QString apply();

    QScopedPointer<UpdateFolders> m_folders;
    QList<tagDownloadFileInfo> m_records;
    bool m_success = false;
};

void tst_DownloadThreadApply::init()
{
    m_folders.reset(new UpdateFolders);
    m_records.clear();
}

void tst_DownloadThreadApply::stage(const QString &path, const QByteArray &content)
{
    WriteFile(m_folders->stagingPath(path), content);
    m_records << RecordOf(path, content);
}

void tst_DownloadThreadApply::install(const QString &path, const QByteArray &content)
{
    WriteFile(m_folders->installPath(path), content);
}

QString tst_DownloadThreadApply::apply()
{
    CDownloadThread worker({}, m_folders->staging, m_folders->install, m_records);
    m_success = worker.success();
    return worker.errormsg();
}

void tst_DownloadThreadApply::apply_existingFile_isKeptAsOld_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("at the top") << QStringLiteral("file");
    QTest::newRow("in a folder") << QStringLiteral("a/b/file.txt");
    QTest::newRow("blanks") << QStringLiteral("a b/c d");
    QTest::newRow("Chinese") << QStringLiteral("资源/图标.png");
}

void tst_DownloadThreadApply::apply_existingFile_isKeptAsOld()
{
    QFETCH(QString, path);
    install(path, "old");
    stage(path, "new");
    QCOMPARE(apply(), QStringLiteral("更新成功"));
    QVERIFY(m_success);
    const FileMap expected{{path, "new"}, {path + QStringLiteral(".old"), "old"}};
    QCOMPARE(ReadTree(m_folders->install), expected);
    QVERIFY(ReadTree(m_folders->staging).isEmpty());
}

void tst_DownloadThreadApply::apply_staleOld_isReplaced()
{
    install(QStringLiteral("file.old"), "very old");
    install(QStringLiteral("file"), "old");
    stage(QStringLiteral("file"), "new");
    QCOMPARE(apply(), QStringLiteral("更新成功"));
    const FileMap expected{{QStringLiteral("file"), "new"}, {QStringLiteral("file.old"), "old"}};
    QCOMPARE(ReadTree(m_folders->install), expected);
}

void tst_DownloadThreadApply::apply_newFile_getsItsFoldersAndNoOld()
{
    install(QStringLiteral("new.old"), "stays where no file is replaced");
    stage(QStringLiteral("a/b/c/new"), "1");
    stage(QStringLiteral("new"), "2");
    QCOMPARE(apply(), QStringLiteral("更新成功"));
    const FileMap expected{{QStringLiteral("a/b/c/new"), "1"},
                           {QStringLiteral("new"), "2"},
                           {QStringLiteral("new.old"), "stays where no file is replaced"}};
    QCOMPARE(ReadTree(m_folders->install), expected);
}

void tst_DownloadThreadApply::apply_otherFiles_areLeftAlone()
{
    install(QStringLiteral("dropped by the release"), "x");
    install(QStringLiteral("a.old"), "from before");
    WriteFile(m_folders->stagingPath(QStringLiteral("not of this update")), "y");
    stage(QStringLiteral("b"), "b");
    QCOMPARE(apply(), QStringLiteral("更新成功"));
    const FileMap expected{{QStringLiteral("dropped by the release"), "x"},
                           {QStringLiteral("a.old"), "from before"},
                           {QStringLiteral("b"), "b"}};
    QCOMPARE(ReadTree(m_folders->install), expected);
    QVERIFY(QFile::exists(m_folders->stagingPath(QStringLiteral("not of this update"))));
}

void tst_DownloadThreadApply::apply_listedTwice_failsAtTheSecond()
{
    stage(QStringLiteral("file"), "content");
    m_records << m_records.first();
    QCOMPARE(apply(), QStringLiteral("覆盖文件file失败"));
    const FileMap expected{{QStringLiteral("file.old"), "content"}};
    QCOMPARE(ReadTree(m_folders->install), expected);
}

void tst_DownloadThreadApply::apply_targetFolder_isMovedAside()
{
    install(QStringLiteral("x/inner"), "1");
    stage(QStringLiteral("x"), "now a file");
    QCOMPARE(apply(), QStringLiteral("更新成功"));
    const FileMap expected{{QStringLiteral("x"), "now a file"},
                           {QStringLiteral("x.old/inner"), "1"}};
    QCOMPARE(ReadTree(m_folders->install), expected);
}

void tst_DownloadThreadApply::apply_danglingLink_cannotBeOverwritten()
{
    // A link to nothing does not count as an existing target, yet its name is taken.
    QVERIFY(QFile::link(QStringLiteral("/nonexistent/target"),
                        m_folders->installPath(QStringLiteral("link"))));
    stage(QStringLiteral("link"), "new");
    QCOMPARE(apply(), QStringLiteral("覆盖文件link失败"));
    QVERIFY(QFile::exists(m_folders->stagingPath(QStringLiteral("link"))));
}

void tst_DownloadThreadApply::apply_names_renamedDecomposed_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("composed");
    QTest::newRow("composed") << QStringLiteral("caf\u00E9") << true;
    QTest::newRow("decomposed") << QStringLiteral("cafe\u0301") << false;
    QTest::newRow("Hangul syllable") << QStringLiteral("\uAC00") << true;
    QTest::newRow("Hangul letters") << QStringLiteral("\u1100\u1161") << false;
    QTest::newRow("nothing to decompose") << QStringLiteral("更新") << false;
}

void tst_DownloadThreadApply::apply_names_renamedDecomposed()
{
    QFETCH(QString, name);
    QFETCH(bool, composed);
    install(name, "old");
    stage(name, "new");
    const QString old = name + QStringLiteral(".old");
    const bool anyForm =
        QFile::exists(m_folders->installPath(name.normalized(QString::NormalizationForm_D)));
    if (composed && !anyForm) {
        // Here names are plain bytes: the decomposed name is another name, which does not exist.
        QCOMPARE(apply(), QStringLiteral("重命名%1为%2失败")
                              .arg(m_folders->installPath(name), m_folders->installPath(old)));
        QCOMPARE(ReadTree(m_folders->install), FileMap({{name, "old"}}));
        QCOMPARE(ReadTree(m_folders->staging), FileMap({{name, "new"}}));
        return;
    }
    QCOMPARE(apply(), QStringLiteral("更新成功"));
    QCOMPARE(ReadFile(m_folders->installPath(name)), QByteArray("new"));
    QCOMPARE(ReadFile(m_folders->installPath(old)), QByteArray("old"));
}

namespace {

/// Each way in which a record "d/file" can fail to be applied.
struct Obstacle {
    const char *name;
    QString text; // %1 is the installation
    std::function<void(const UpdateFolders &)> lay;
};

void MakeReadOnly(const QString &path)
{
    QVERIFY(QFile::setPermissions(path, QFile::Permissions(0x5055)));
}

const QString File = QStringLiteral("d/file");

QList<Obstacle> Obstacles()
{
    return {
        {"a file where the folder must be", QStringLiteral("创建目录%1/d失败"),
         [](const UpdateFolders &folders) {
             WriteFile(folders.installPath(QStringLiteral("d")), "x");
         }},
        {"an old copy that is a folder", QStringLiteral("删除文件file.old失败"),
         [](const UpdateFolders &folders) {
             WriteFile(folders.installPath(File), "old");
             WriteFile(folders.installPath(QStringLiteral("d/file.old/inner")), "x");
         }},
        {"a stale old copy in a read-only folder", QStringLiteral("删除文件file.old失败"),
         [](const UpdateFolders &folders) {
             WriteFile(folders.installPath(File), "old");
             WriteFile(folders.installPath(QStringLiteral("d/file.old")), "older");
             MakeReadOnly(folders.installPath(QStringLiteral("d")));
         }},
        {"a target in a read-only folder", QStringLiteral("重命名%1/d/file为%1/d/file.old失败"),
         [](const UpdateFolders &folders) {
             WriteFile(folders.installPath(File), "old");
             MakeReadOnly(folders.installPath(QStringLiteral("d")));
         }},
        {"a read-only folder without target", QStringLiteral("覆盖文件file失败"),
         [](const UpdateFolders &folders) {
             QVERIFY(QDir().mkpath(folders.installPath(QStringLiteral("d"))));
             MakeReadOnly(folders.installPath(QStringLiteral("d")));
         }},
    };
}

} // namespace

void tst_DownloadThreadApply::failure_names_theFileOfTheInstallation_data()
{
    QTest::addColumn<int>("index");
    const QList<Obstacle> obstacles = Obstacles();
    for (int i = 0; i < obstacles.size(); ++i) {
        QTest::newRow(obstacles.at(i).name) << i;
    }
}

void tst_DownloadThreadApply::failure_names_theFileOfTheInstallation()
{
    QFETCH(int, index);
    const Obstacle obstacle = Obstacles().at(index);
    obstacle.lay(*m_folders);
    const FileMap before = ReadTree(m_folders->install);
    const ScriptedServer server(ServeFiles({{File, "new"}}));
    m_folders->letAnyoneWrite();
    const OrdinaryUser user;
    const ReplyWatch watch;

    WorkerRun run(server.url(QStringLiteral("/")), *m_folders, {RecordOf(File, "new")});

    const QString text =
        QString(obstacle.text).replace(QStringLiteral("%1"), m_folders->install.absolutePath());
    QVERIFY(!run.worker.success());
    QCOMPARE(run.worker.errormsg(), text);
    QCOMPARE(run.failed.size(), 1);
    QCOMPARE(run.failed.first().at(0).value<QFileInfo>().absoluteFilePath(),
             m_folders->installPath(File));
    QCOMPARE(run.failed.first().at(1).toString(), text);
    QCOMPARE(ReadTree(m_folders->install), before);
    QCOMPARE(ReadFile(m_folders->stagingPath(File)), QByteArray("new"));
    QTRY_COMPARE(watch.alive(), 0);
    QCOMPARE(watch.released(), 1);
}

void tst_DownloadThreadApply::failure_inAnyRecord_leavesTheRest_data()
{
    QTest::addColumn<int>("failing");
    for (int i = 0; i < 5; ++i) {
        QTest::addRow("record %d of 5", i + 1) << i;
    }
}

void tst_DownloadThreadApply::failure_inAnyRecord_leavesTheRest()
{
    QFETCH(int, failing);
    m_folders->letAnyoneWrite();
    const OrdinaryUser user;
    FileMap installed;
    FileMap staged;
    for (int i = 0; i < 5; ++i) {
        const QString path = QStringLiteral("%1/file").arg(i);
        const QByteArray older = "old " + QByteArray::number(i);
        const QByteArray newer = "new " + QByteArray::number(i);
        install(path, older);
        stage(path, newer);
        installed.insert(i <= failing ? path + QStringLiteral(".old") : path, older);
        (i < failing ? installed : staged).insert(path, newer);
    }
    // Its staged file can be read but not taken away, so step by step: the target is moved aside,
    // and then nothing can be moved onto its name.
    MakeReadOnly(m_folders->stagingPath(QString::number(failing)));

    QCOMPARE(apply(), QStringLiteral("覆盖文件file失败"));
    QVERIFY(!m_success);
    QCOMPARE(ReadTree(m_folders->install), installed);
    QCOMPARE(ReadTree(m_folders->staging), staged);
}

QTEST_GUILESS_MAIN(tst_DownloadThreadApply)
#include "tst_downloadthread_apply.moc"
