// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"
#include "publish/Workspace.h"
#include "tests/publish/PublishTool.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

/// Whatever happens to publish_update, users see the old release or the new one.
class tst_PublishAtomic : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void killed_whileItCopies_leavesTheOldReleaseInSight();
    void killed_atAnyMoment_leavesAWholeReleaseInSight_data();
    void killed_atAnyMoment_leavesAWholeReleaseInSight();
    void killed_betweenItsTwoRenames_isTakenBackByTheNextRun();
    void leftovers_ofAPublishedRelease_doNotTakeItBack_data();
    void leftovers_ofAPublishedRelease_doNotTakeItBack();
    void leftovers_behindALink_areLeftAlone();
    void failure_inANewOutput_leavesNoFolder();
    void failure_whileItWrites_changesNothing();
    void failure_whileItWritesTheManifest_changesNothing();
    void failure_ofTheLastRename_takesTheReleaseBack();
    void failure_ofTheFirstRename_announcesNothing();
    void output_unwritable_changesNothing();
    void output_inUse_isRefused();
    void twoAtOnce_sameRelease_isPublishedOnce();

private:
    QStringList arguments() const { return PublishArguments(m_release, m_output); }
    QMap<QString, QByteArray> tree() const { return FilesBelow(m_output); }
    bool publishedWhole() const;
    void verifyOldInSight() const;

    QTemporaryDir m_source;
    QString m_release;
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_output;
};

namespace {

constexpr int FileCount = 30;
const QString Work = QStringLiteral(".publish_update");
const QByteArray OldDescription = R"({"Folder":"3.9.0"})";

} // namespace

void tst_PublishAtomic::initTestCase()
{
    m_release = m_source.filePath("release");
    for (int file = 0; file < FileCount; ++file) {
        const QString path = QStringLiteral("%1/d%2/f%3")
                                 .arg(m_release, QString::number(file % 7), QString::number(file));
        WriteFile(path, QByteArray(60000 + file, static_cast<char>(file)));
    }
}

void tst_PublishAtomic::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_output = m_folder->filePath("output");
    WriteFile(m_output + "/update.json", OldDescription);
    WriteFile(m_output + "/3.9.0/update_md5.info", "old");
}

/// Whether the new release's folder holds everything that its manifest lists.
bool tst_PublishAtomic::publishedWhole() const
{
    const QDir folder(m_output + "/3.10.25");
    QFile manifest(folder.filePath("update_md5.info"));
    if (!manifest.open(QIODevice::ReadOnly)) {
        return false;
    }
    const auto records = ParseMd5File(manifest.readAll());
    return records.size() == FileCount &&
           CheckMd5(records, folder.filePath("none"), folder).isEmpty();
}

void tst_PublishAtomic::verifyOldInSight() const
{
    QMap<QString, QByteArray> now = tree();
    for (const QString &path : now.keys()) {
        if (path.startsWith(Work)) {
            now.remove(path);
        }
    }
    const QMap<QString, QByteArray> old{
        {"3.9.0", "/"}, {"3.9.0/update_md5.info", "old"}, {"update.json", OldDescription}};
    QCOMPARE(now, old);
}

void tst_PublishAtomic::killed_whileItCopies_leavesTheOldReleaseInSight()
{
    QProcess process;
    process.start(PublishProgram(), arguments());
    const QDir copy(m_output + "/.publish_update/release/d0"); // f28 is copied second
    while (process.state() != QProcess::NotRunning && !copy.exists("f28")) {
        (void)process.waitForFinished(1);
    }
    process.kill();
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    QVERIFY(copy.exists("f28"));
    verifyOldInSight();

    QCOMPARE(RunPublish(arguments()).exitCode, 0);
    QVERIFY(publishedWhole());
    QCOMPARE(QDir(m_output).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList({"3.10.25", "3.9.0", "update.json"}));
}

void tst_PublishAtomic::killed_atAnyMoment_leavesAWholeReleaseInSight_data()
{
    QTest::addColumn<int>("microseconds");
    for (int row = 0; row < 8; ++row) {
        const int moment = QRandomGenerator::global()->bounded(60000);
        QTest::newRow(qPrintable(QString::number(moment) + " us")) << moment;
    }
}

void tst_PublishAtomic::killed_atAnyMoment_leavesAWholeReleaseInSight()
{
    QFETCH(int, microseconds);
    QProcess process;
    process.start(PublishProgram(), arguments());
    QVERIFY(process.waitForStarted());
    QThread::usleep(static_cast<unsigned long>(microseconds));
    process.kill();
    QVERIFY(process.waitForFinished());

    const bool announced = tree().value("update.json") != OldDescription;
    if (QFileInfo::exists(m_output + "/3.10.25")) {
        QVERIFY(publishedWhole());
    } else {
        verifyOldInSight();
        QVERIFY(!announced);
    }
    QCOMPARE(RunPublish(arguments()).exitCode, announced ? 1 : 0);
    QVERIFY(publishedWhole());
    QCOMPARE(QDir(m_output).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList({"3.10.25", "3.9.0", "update.json"}));
}

void tst_PublishAtomic::killed_betweenItsTwoRenames_isTakenBackByTheNextRun()
{
    // What such a run leaves: the release is visible, its name is noted, update.json is still the
    // old one, and the new one is prepared.
    QCOMPARE(RunPublish(arguments()).exitCode, 0);
    WriteFile(m_output + "/.publish_update/update.json", tree().value("update.json"));
    WriteFile(m_output + "/update.json", OldDescription);
    WriteFile(m_output + "/.publish_update/name", "3.10.25");
    WriteFile(m_output + "/3.10.25/mark", "of the interrupted run");

    const ToolRun run = RunPublish(arguments());
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QVERIFY(publishedWhole());
    QVERIFY(!tree().contains("3.10.25/mark"));
    QVERIFY(tree().value("update.json").contains(R"("3.10.25")"));
}

void tst_PublishAtomic::leftovers_ofAPublishedRelease_doNotTakeItBack_data()
{
    using Files = QMap<QString, QByteArray>;
    QTest::addColumn<Files>("left");
    const QString name = "/.publish_update/name";
    const QString prepared = "/.publish_update/update.json";
    QTest::newRow("killed after the last rename") << Files{{name, "3.10.25"}};
    QTest::newRow("killed after the last rename, another release announced since")
        << Files{{name, "3.10.25"}, {"/update.json", OldDescription}};
    QTest::newRow("killed before the first rename") << Files{{name, "3.10.25"},
                                                             {prepared, "new"},
                                                             {"/.publish_update/release/f", "copy"},
                                                             {"/update.json", OldDescription}};
    QTest::newRow("killed between the renames, announced by hand since")
        << Files{{name, "3.10.25"}, {prepared, "new"}};
    QTest::newRow("no name of ours")
        << Files{{name, "../output/3.10.25"}, {prepared, "new"}, {"/update.json", OldDescription}};
}

void tst_PublishAtomic::leftovers_ofAPublishedRelease_doNotTakeItBack()
{
    using Files = QMap<QString, QByteArray>;
    QFETCH(Files, left);
    QCOMPARE(RunPublish(arguments()).exitCode, 0);
    const QMap<QString, QByteArray> published = FilesBelow(m_output + "/3.10.25");
    for (auto file = left.cbegin(); file != left.cend(); ++file) {
        WriteFile(m_output + file.key(), file.value());
    }
    QCOMPARE(RunPublish(arguments()).exitCode, 1);
    QCOMPARE(FilesBelow(m_output + "/3.10.25"), published);
    QVERIFY(!tree().contains(Work));
}

void tst_PublishAtomic::leftovers_behindALink_areLeftAlone()
{
    const QString elsewhere = m_folder->filePath("elsewhere");
    WriteFile(elsewhere + "/name", "3.9.0");
    WriteFile(elsewhere + "/update.json", "");
    const QMap<QString, QByteArray> before = FilesBelow(elsewhere);
    QVERIFY(QFile::link(elsewhere, m_output + "/.publish_update"));
    const ToolRun run = RunPublish(arguments());
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(FilesBelow(elsewhere), before);
    QVERIFY(publishedWhole());
    QVERIFY(tree().contains("3.9.0/update_md5.info"));
    QVERIFY(!QFileInfo(m_output + "/.publish_update").isSymLink());
}

void tst_PublishAtomic::failure_inANewOutput_leavesNoFolder()
{
    const QString above = m_folder->filePath("new");
    const QStringList wrapper{"sh", "-c", R"(trap '' XFSZ; ulimit -f 100; exec "$0" "$@")"};
    QCOMPARE(RunPublish(PublishArguments(m_release, above + "/er/est"), wrapper).exitCode, 1);
    QVERIFY(!QFileInfo::exists(above));

    QVERIFY(QDir().mkpath(above));
    QCOMPARE(RunPublish(PublishArguments(m_release, above + "/er/est"), wrapper).exitCode, 1);
    QVERIFY(QDir(above).isEmpty()); // it was there before

    QCOMPARE(RunPublish(PublishArguments(m_release, above + "/er/est")).exitCode, 0);
    QVERIFY(QFileInfo::exists(above + "/er/est/update.json"));
}

void tst_PublishAtomic::failure_whileItWrites_changesNothing()
{
    const ToolRun run =
        RunPublish(arguments(), {"sh", "-c", R"(trap '' XFSZ; ulimit -f 100; exec "$0" "$@")"});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.contains("cannot be written: File too large."), run.errors.constData());
    verifyOldInSight();
    QVERIFY(!tree().contains(Work));
}

void tst_PublishAtomic::failure_whileItWritesTheManifest_changesNothing()
{
    const QString release = m_folder->filePath("small files");
    for (int file = 0; file < 30; ++file) {
        WriteFile(QStringLiteral("%1/%2%3").arg(release, QString(200, 'n'), QString::number(file)),
                  "");
    }
    const ToolRun run = RunPublish(PublishArguments(release, m_output),
                                   {"sh", "-c", R"(trap '' XFSZ; ulimit -f 4; exec "$0" "$@")"});
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(QString::fromUtf8(run.errors),
             "publish_update: " + Quoted(m_output + "/.publish_update/release/update_md5.info") +
                 " cannot be written: File too large.\n");
    verifyOldInSight();
    QVERIFY(!tree().contains(Work));
}

void tst_PublishAtomic::failure_ofTheLastRename_takesTheReleaseBack()
{
    QVERIFY(QFile::remove(m_output + "/update.json"));
    WriteFile(m_output + "/update.json/in the way", "");
    const QMap<QString, QByteArray> before = tree();
    const ToolRun run = RunPublish(arguments() + QStringList("--force")); // which ignores it
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(QString::fromUtf8(run.errors), "publish_update: " + Quoted(m_output + "/update.json") +
                                                " cannot be written: Is a directory.\n");
    QCOMPARE(tree(), before);
}

void tst_PublishAtomic::failure_ofTheFirstRename_announcesNothing()
{
    {
        Workspace workspace(m_output);
        QCOMPARE(workspace.open(), QString());
        QVERIFY(QDir().rmdir(workspace.releaseDir()));
        QCOMPARE(workspace.publish("3.10.25", "new"),
                 Quoted(m_output + "/3.10.25") + " cannot be written: No such file or directory.");
    }
    verifyOldInSight();
}

void tst_PublishAtomic::output_unwritable_changesNothing()
{
    QVERIFY(QFile::setPermissions(m_output, QFile::ReadOwner | QFile::ExeOwner));
    const ToolRun run = RunPublish(arguments(), WithoutRootsRights());
    QVERIFY(
        QFile::setPermissions(m_output, QFile::ReadOwner | QFile::ExeOwner | QFile::WriteOwner));
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(QString::fromUtf8(run.errors),
             "publish_update: " + Quoted(m_output + "/.publish_update") +
                 " cannot be written: Permission denied.\n");
    verifyOldInSight();
}

void tst_PublishAtomic::output_inUse_isRefused()
{
    const int other = ::open(qPrintable(m_output), O_RDONLY);
    QCOMPARE(::flock(other, LOCK_EX | LOCK_NB), 0);
    const ToolRun run = RunPublish(arguments());
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(QString::fromUtf8(run.errors),
             "publish_update: Another publish_update is running in " + Quoted(m_output) + ".\n");
    verifyOldInSight();
    QCOMPARE(::close(other), 0);
    QCOMPARE(RunPublish(arguments()).exitCode, 0);
}

void tst_PublishAtomic::twoAtOnce_sameRelease_isPublishedOnce()
{
    QProcess one;
    QProcess other;
    one.start(PublishProgram(), arguments());
    other.start(PublishProgram(), arguments());
    QVERIFY(one.waitForFinished() && other.waitForFinished());
    QCOMPARE(one.exitCode() + other.exitCode(), 1);
    QVERIFY(publishedWhole());
    QVERIFY(tree().value("update.json").contains(R"("3.10.25")"));
}

QTEST_GUILESS_MAIN(tst_PublishAtomic)
#include "tst_publishatomic.moc"
