// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/DurableFile.h"

#include "release/SystemCalls.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/OwnNamespaces.h"
#include "tests/support/SmallVolume.h"
#include "tests/support/TestFiles.h"

#include <QProcess>
#include <QtTest>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

class tst_DurableFile : public QObject {
    Q_OBJECT

private slots:
    void init();

    void writeDurably_content_replacesTheFile_data();
    void writeDurably_content_replacesTheFile();
    void writeDurably_mode_isTheGivenOneWhateverTheUmask();
    void writeDurably_leftoverScratch_isReplacedNotFollowed_data();
    void writeDurably_leftoverScratch_isReplacedNotFollowed();
    void writeDurably_impossible_isSaidAndChangesNothing_data();
    void writeDurably_impossible_isSaidAndChangesNothing();
    void writeDurably_fullDisk_isSaidAndChangesNothing();
    void writeDurably_anyCallFails_isNoSuccess_data();
    void writeDurably_anyCallFails_isNoSuccess();
    void syncTree_entries_areSynced();
    void syncTree_anyCallFails_isNoSuccess();
    void syncTree_unreadable_isSaid();
    void syncFile_paths_areAsExpected();

private:
    QString path(const char *name) const { return m_folder->filePath(QLatin1String(name)); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

namespace {

const QByteArray Before = "before";
bool HasOwnMounts = false;

/// Runs the driver and returns its result, or null if it did not end normally.
QString Run(const QStringList &wrapper, const QStringList &arguments)
{
    QStringList command = wrapper;
    command += QStringLiteral(DURABLE_DRIVER);
    command += arguments;
    QProcess process;
    process.start(command.constFirst(), command.mid(1));
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        return QStringLiteral("the driver did not end by itself");
    }
    return QString::fromUtf8(process.readAllStandardOutput());
}

int Mode(const QString &path)
{
    struct stat status {};
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : -1;
}

} // namespace

void tst_DurableFile::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
}

void tst_DurableFile::writeDurably_content_replacesTheFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("short") << QByteArray("new\0line\n", 9);
    QTest::newRow("long") << QByteArray(5000000, 'x');
}

void tst_DurableFile::writeDurably_content_replacesTheFile()
{
    QFETCH(QByteArray, content);
    for (const bool isThere : {false, true}) {
        if (isThere) {
            WriteFile(path("file"), Before);
        }
        QCOMPARE(WriteDurably(path("file"), path("scratch"), content), QString());
        QCOMPARE(ReadFile(path("file")), content);
        QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files), QStringList("file"));
    }
}

void tst_DurableFile::writeDurably_mode_isTheGivenOneWhateverTheUmask()
{
    for (const int mode : {0644, 0600, 0755}) {
        const mode_t before = ::umask(077);
        const QString reason = WriteDurably(path("file"), path("scratch"), "x", mode);
        (void)::umask(before);
        QCOMPARE(reason, QString());
        QCOMPARE(Mode(path("file")), mode);
    }
}

void tst_DurableFile::writeDurably_leftoverScratch_isReplacedNotFollowed_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("file") << "file";
    QTest::newRow("link") << "link";
    QTest::newRow("second name of another file") << "hard link";
}

void tst_DurableFile::writeDurably_leftoverScratch_isReplacedNotFollowed()
{
    QFETCH(QString, kind);
    WriteFile(path("other"), Before);
    if (kind == "file") {
        WriteFile(path("scratch"), QByteArray(100, 'x'));
    } else if (kind == "link") {
        QVERIFY(QFile::link(path("other"), path("scratch")));
    } else {
        QCOMPARE(::link(QFile::encodeName(path("other")).constData(),
                        QFile::encodeName(path("scratch")).constData()),
                 0);
    }
    QCOMPARE(WriteDurably(path("file"), path("scratch"), "new"), QString());
    QCOMPARE(ReadFile(path("file")), QByteArray("new"));
    QCOMPARE(ReadFile(path("other")), Before);
    QVERIFY(!QFileInfo(path("file")).isSymLink());
    QVERIFY(!QFileInfo::exists(path("scratch")));
}

void tst_DurableFile::writeDurably_impossible_isSaidAndChangesNothing_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("scratch");
    QTest::addColumn<QString>("error");
    QTest::newRow("no such folder") << "none/file"
                                    << "none/scratch"
                                    << "No such file or directory";
    QTest::newRow("folder in the way") << "folder"
                                       << "scratch"
                                       << "Is a directory";
    QTest::newRow("folder in the way of the work") << "file"
                                                   << "folder"
                                                   << "Is a directory";
}

void tst_DurableFile::writeDurably_impossible_isSaidAndChangesNothing()
{
    QFETCH(QString, file);
    QFETCH(QString, scratch);
    QFETCH(QString, error);
    QVERIFY(QDir(m_folder->path()).mkdir("folder"));
    WriteFile(path("folder/in"), Before);
    const QString target = m_folder->filePath(file);
    QCOMPARE(WriteDurably(target, m_folder->filePath(scratch), "new"),
             "\"" + target + "\" cannot be written: " + error);
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList("folder"));
    QCOMPARE(ReadFile(path("folder/in")), Before);
}

void tst_DurableFile::writeDurably_fullDisk_isSaidAndChangesNothing()
{
    if (!HasOwnMounts) {
        QSKIP("This system lets no volume be mounted.");
    }
    const SmallVolume volume(m_folder->path(), 2);
    WriteFile(path("file"), Before);
    volume.fillAllBut(3); // room for a part of the content, so that a write is short
    const QString reason = WriteDurably(path("file"), path("scratch"), QByteArray(1000000, 'x'));
    QCOMPARE(reason, "\"" + path("file") + "\" cannot be written: No space left on device");
    QCOMPARE(ReadFile(path("file")), Before);
    QVERIFY(!QFileInfo::exists(path("scratch")));
    volume.makeRoom();
    QCOMPARE(WriteDurably(path("file"), path("scratch"), "new"), QString());
}

void tst_DurableFile::writeDurably_anyCallFails_isNoSuccess_data()
{
    QTest::addColumn<int>("error");
    QTest::newRow("disk full") << ENOSPC;
    QTest::newRow("disk broken") << EIO;
    QTest::newRow("quota used up") << EDQUOT;
    QTest::newRow("not allowed") << EACCES;
}

void tst_DurableFile::writeDurably_anyCallFails_isNoSuccess()
{
    QFETCH(int, error);
    FailingCalls calls(m_folder->path());
    const QStringList arguments{"write", path("file"), path("scratch"), "new"};
    QCOMPARE(Run(calls.letThrough(), arguments), QString());
    const QString file = path("file");
    const QString scratch = path("scratch");
    const QStringList expected{"open " + scratch, "write " + scratch,  "chmod " + scratch,
                               "sync " + scratch, "rename " + scratch, "sync " + m_folder->path()};
    QCOMPARE(calls.calls(), expected);
    for (int number = 1; number <= expected.size(); ++number) {
        for (const bool isOnwards : {false, true}) {
            WriteFile(file, Before);
            const QString reason =
                Run(isOnwards ? calls.failFrom(number, error) : calls.failOnce(number, error),
                    arguments);
            QVERIFY(calls.hasFailed());
            errno = error;
            QCOMPARE(reason, "\"" + file + "\" cannot be written: " + SystemError());
            QCOMPARE(ReadFile(file), number < expected.size() ? Before : QByteArray("new"));
            QVERIFY(!QFileInfo::exists(scratch));
        }
    }
}

void tst_DurableFile::syncTree_entries_areSynced()
{
    WriteFile(path("top/file"), Before);
    WriteFile(path("top/a/b/.hidden"), Before);
    QVERIFY(QDir(path("top")).mkpath("empty"));
    FailingCalls calls(m_folder->path());
    const QStringList arguments{"sync", path("top"), "a", "a/b", "a/b/.hidden", "empty", "file"};
    QCOMPARE(Run(calls.letThrough(), arguments), QString());
    QStringList seen = calls.calls();
    const QString top = "sync " + path("top");
    QCOMPARE(seen.constFirst(), top); // all at once
    QCOMPARE(seen.constLast(), top);
    seen.sort();
    QCOMPARE(seen, (QStringList{top, top, top + "/a", top + "/a/b", top + "/a/b/.hidden",
                                top + "/empty", top + "/file"}));
}

void tst_DurableFile::syncTree_anyCallFails_isNoSuccess()
{
    WriteFile(path("top/a/file"), Before);
    FailingCalls calls(m_folder->path(), {"sync", "open-to-read"});
    const QStringList arguments{"sync", path("top"), "a", "a/file"};
    QCOMPARE(Run(calls.letThrough(), arguments), QString());
    const int count = calls.count();
    QCOMPARE(count, 7); // three are opened, and the top is synced twice
    for (int number = 1; number <= count; ++number) {
        QVERIFY(Run(calls.failOnce(number, EIO), arguments)
                    .endsWith(" cannot be synced: Input/output error"));
        QVERIFY(calls.hasFailed());
    }
}

void tst_DurableFile::syncTree_unreadable_isSaid()
{
    QCOMPARE(SyncTree(path("none"), {}),
             "\"" + path("none") + "\" cannot be synced: No such file or directory");
    WriteFile(path("file"), Before);
    QCOMPARE(SyncTree(path("file"), {}),
             "\"" + path("file") + "\" cannot be synced: Not a directory");
    QVERIFY(QFile::link("file", path("link")));
    QCOMPARE(SyncTree(m_folder->path(), {"file", "link"}),
             "\"" + path("link") + "\" cannot be synced: Too many levels of symbolic links");
    QCOMPARE(SyncTree(m_folder->path(), {"file", "gone"}), QString());
}

void tst_DurableFile::syncFile_paths_areAsExpected()
{
    WriteFile(path("file"), Before);
    QVERIFY(QFile::link(path("file"), path("link")));
    QVERIFY(SyncFile(path("file")));
    QVERIFY(!SyncFile(path("none")));
    QCOMPARE(errno, ENOENT);
    QVERIFY(!SyncFile(path("link")));
    QCOMPARE(errno, ELOOP);
    QVERIFY(SyncFolder(m_folder->path()));
    QVERIFY(!SyncFolder(path("file")));
    QCOMPARE(errno, ENOTDIR);
    QVERIFY(QFile::link(m_folder->path(), path("link to the folder")));
    QVERIFY(SyncFolder(path("link to the folder")));
}

int main(int argc, char *argv[])
{
    HasOwnMounts = EnterOwnNamespaces(OwnMounts); // before there is a second thread
    tst_DurableFile test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_durablefile.moc"
