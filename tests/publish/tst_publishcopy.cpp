// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/Publish.h"
#include "publish/ReleaseCopy.h"
#include "tests/publish/PublishTool.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::mutex Guard;
QStringList Synced;    // what was synced, in order
QString Unsyncable;    // end of the path that cannot be synced
QString AnnouncedPath; // a release that is synced after it became visible is marked

} // namespace

/// Replaces the system's function in this program, Qt and the tool included: it keeps a list, and
/// fails where a test wants it to.
extern "C" int fsync(int descriptor)
{
    const std::lock_guard<std::mutex> lock(Guard);
    const QString path = QFile::symLinkTarget(QStringLiteral("/proc/self/fd/%1").arg(descriptor));
    Synced.append(QFileInfo::exists(AnnouncedPath) ? path + " (in sight)" : path);
    if (!Unsyncable.isEmpty() && path.endsWith(Unsyncable)) {
        errno = EIO;
        return -1;
    }
    return 0;
}

/// Copying files from the release to the output folder, and what must not be copied.
class tst_PublishCopy : public QObject {
    Q_OBJECT

private slots:
    void init();
    void copy_fileSwapped_isRefused_data();
    void copy_fileSwapped_isRefused();
    void copy_folderInTheWay_isNamed();
    void publish_everything_isSyncedBeforeItIsInSight();
    void publish_syncFails_changesNothing_data();
    void publish_syncFails_changesNothing();

private:
    PublishOptions options() const;
    ReleaseFile fileAsFound() const;
    int publish() const;

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_release;
    QString m_output;
};

void tst_PublishCopy::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_release = m_folder->filePath("release");
    m_output = m_folder->filePath("output");
    WriteFile(m_release + "/d/e/file", "content");
    WriteFile(m_release + "/d/.ff/other", "content");
    Synced.clear();
    Unsyncable.clear();
    AnnouncedPath = m_output + "/3.10.25";
}

PublishOptions tst_PublishCopy::options() const
{
    PublishOptions options;
    options.version = options.versionString = options.folder = "3.10.25";
    options.minVersion = "3.0.0";
    options.downloadUrl = "https://www.example.com/";
    options.releaseDir = m_release;
    options.outputDir = m_output;
    return options;
}

ReleaseFile tst_PublishCopy::fileAsFound() const
{
    const QVector<ReleaseFile> files = ScanRelease(m_release).files;
    return files.at(files.at(0).path == "d/e/file" ? 0 : 1);
}

int tst_PublishCopy::publish() const
{
    Report report;
    return Publish(options(), report);
}

void tst_PublishCopy::copy_fileSwapped_isRefused_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("reason");
    const QString special(R"("d/e/file" cannot be read: it is not a regular file.)");
    const QString size(R"("d/e/file" changed its size while it was read.)");
    QTest::newRow("as it was found") << "same" << QString();
    QTest::newRow("link to a file outside") << "link" << special;
    QTest::newRow("pipe") << "pipe" << special;
    QTest::newRow("folder") << "folder" << special;
    QTest::newRow("nothing") << "nothing"
                             << R"("d/e/file" cannot be read: No such file or directory.)";
    QTest::newRow("longer file") << "contents" << size;
    QTest::newRow("shorter file") << "conten" << size;
    QTest::newRow("other file of the same size") << "CONTENT"
                                                 << R"("d/e/file" was changed while it was read.)";
}

void tst_PublishCopy::copy_fileSwapped_isRefused()
{
    QFETCH(QString, kind);
    QFETCH(QString, reason);
    const QString path = m_release + "/d/e/file";
    const QVector<ReleaseFile> found{fileAsFound()};
    QVERIFY(kind == "same" || QFile::remove(path));
    if (kind == "link") {
        WriteFile(m_folder->filePath("outside"), "content");
        QVERIFY(QFile::link(m_folder->filePath("outside"), path));
    } else if (kind == "pipe") {
        QCOMPARE(::mkfifo(path.toUtf8().constData(), 0600), 0);
    } else if (kind == "folder") {
        QVERIFY(QDir().mkdir(path));
    } else if (kind != "nothing" && kind != "same") {
        QTest::qWait(10); // not every file system stores exact times
        WriteFile(path, kind.toUtf8());
    }
    QVERIFY(QDir().mkpath(m_output));
    std::vector<ManifestFile> records;
    QCOMPARE(CopyRelease(found, m_release, m_output, records), reason);
    QCOMPARE(records.size(), std::size_t(reason.isEmpty() ? 1 : 0));
    QCOMPARE(ReadRelease(found, m_release, records), reason);
}

void tst_PublishCopy::copy_folderInTheWay_isNamed()
{
    WriteFile(m_output + "/d", "a file");
    std::vector<ManifestFile> records;
    QCOMPARE(CopyRelease({fileAsFound()}, m_release, m_output, records),
             "The folder " + Quoted(m_output + "/d/e") + " cannot be created.");
    QVERIFY(records.empty());
}

void tst_PublishCopy::publish_everything_isSyncedBeforeItIsInSight()
{
    QCOMPARE(publish(), 0);
    const QString work = m_output + "/.publish_update";
    for (const char *path :
         {"", "/release", "/release/d", "/release/d/e", "/release/d/.ff", "/release/d/e/file",
          "/release/d/.ff/other", "/release/update_md5.info#new"}) {
        QVERIFY2(Synced.contains(work + path), path);
    }
    // The folder that holds both: before the announcement and after it.
    QCOMPARE(Synced.filter("(in sight)"), QStringList({m_output + " (in sight)", //
                                                       m_output + " (in sight)"}));
}

void tst_PublishCopy::publish_syncFails_changesNothing_data()
{
    QTest::addColumn<QString>("path");
    for (const char *path : {"/release/d/e/file", "/release/update_md5.info#new", "/release/d/.ff",
                             "/.publish_update", "/output"}) {
        QTest::newRow(path) << path;
    }
}

void tst_PublishCopy::publish_syncFails_changesNothing()
{
    QFETCH(QString, path);
    WriteFile(m_output + "/update.json", "as before");
    const QMap<QString, QByteArray> before = FilesBelow(m_output);
    Unsyncable = path;
    QCOMPARE(publish(), 1);
    QCOMPARE(FilesBelow(m_output), before);
    Unsyncable.clear();
    QCOMPARE(publish(), 0);
}

QTEST_GUILESS_MAIN(tst_PublishCopy)
#include "tst_publishcopy.moc"
