// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/FileNames.h"
#include "release/FileDigests.h"
#include "release/Formats.h"
#include "tests/inplace/InplaceStage.h"
#include "tests/support/Nginx.h"
#include "tests/support/PeakMemory.h"

#include <QtTest>

namespace {

constexpr qint64 GiB = qint64{1} << 30;
constexpr int Minutes = 60000;
constexpr int MiBBesides = 100; // of memory, in addition to a file's size
/// The most that a run may take; more is the program's fault, not the machine's.
const auto Limits = QStringLiteral("ulimit -c 0; ulimit -v %1; ").arg(10 * GiB / 1024);

/// Makes a file of zeros that takes no space.
void MakeSparse(const QString &path, qint64 size)
{
    WriteFile(path, "");
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite) && file.resize(size));
}

TestRelease SmallFiles(int count, int version)
{
    TestRelease release;
    release.version = version * 1000000;
    release.versionString = QString::number(version);
    for (int number = 0; number < count; ++number) {
        release.tree.insert(
            QStringLiteral("folder %1/file %2")
                .arg(QString::number(number / 500), QString::number(number)),
            File(release.versionString.toUtf8() + '/' + QByteArray::number(number)));
    }
    return release;
}

void Publish(const Nginx &server, const TestRelease &release, const QByteArray &manifest)
{
    const QString folder = server.root() + QLatin1Char('/') + release.folder();
    WriteFile(server.root() + QLatin1Char('/') + UPDATE_DESCRIBE_FILENAME,
              release.published().value(UPDATE_DESCRIBE_FILENAME));
    WriteFile(folder + QLatin1Char('/') + LOCAL_MD5_FILENAME, manifest);
    LayNodes(folder, release.tree);
}

QStringList Arguments(const InplaceStage &stage, const QString &url)
{
    return {QStringLiteral("--base-url"), url,           QStringLiteral("--install"), stage.install,
            QStringLiteral("--staging"),  stage.staging, QStringLiteral("--console")};
}

} // namespace

/// Very many files and very large ones. Takes minutes and gigabytes of memory.
class tst_InplaceLarge : public QObject {
    Q_OBJECT

private slots:
    void files_many_areReplaced_data();
    void files_many_areReplaced();
    void file_large_isReplaced_data();
    void file_large_isReplaced();
    void file_tooLarge_isRefused();
    void file_largeInstalled_isReplacedOrShared_data();
    void file_largeInstalled_isReplacedOrShared();
};

void tst_InplaceLarge::files_many_areReplaced_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("isStaged");
    QTest::addColumn<int>("stackKiB");
    QTest::newRow("to be fetched") << 100000 << false << 8192;
    QTest::newRow("10,000, all staged already") << 10000 << true << 512;
    QTest::newRow("100,000, all staged already") << 100000 << true << 512;
}

void tst_InplaceLarge::files_many_areReplaced()
{
    QFETCH(int, count);
    QFETCH(bool, isStaged);
    QFETCH(int, stackKiB);
    InplaceStage stage(QStringLiteral("Sample"));
    stage.lay(SmallFiles(count, 1));
    const TestRelease release = SmallFiles(count, 2);
    Nginx server;
    Publish(server, release, ManifestContent(release.manifest()));
    if (isStaged) {
        LayNodes(stage.staging + QStringLiteral("/inplace_update#fetch"), release.tree);
    }
    QVERIFY(server.start());
    InplaceProgram program(Arguments(stage, server.url()));
    program.start(Limits + QStringLiteral("ulimit -s %1").arg(stackKiB));
    QVERIFY(program.waitForEnd(20 * Minutes));
    QVERIFY2(program.exitCode() == 0, program.errors().right(1000).constData());
    QCOMPARE(program.report().value(QStringLiteral("files")).toInt(), isStaged ? 0 : count);
    QVERIFY(stage.differences(release).isEmpty());
    qInfo("%d files: %lld s, at most %lld MiB", count, program.milliseconds() / 1000,
          program.peakMiB());
}

void tst_InplaceLarge::file_large_isReplaced_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<qint64>("size");
    QTest::newRow("1.9 GiB") << 1 << 19 * GiB / 10;
    QTest::newRow("the largest") << 1 << TooLargeSize - 1;
    QTest::newRow("one after another") << 4 << GiB / 4; // the former ones are not kept in memory
}

void tst_InplaceLarge::file_large_isReplaced()
{
    QFETCH(int, count);
    QFETCH(qint64, size);
    InplaceStage stage(QStringLiteral("Sample"));
    TestRelease release = SmallFiles(1, 1);
    stage.lay(release);
    release.version = 2000000;
    release.versionString = QStringLiteral("2");
    Nginx server;
    FileDigests digests;
    ReleaseManifest manifest = release.manifest();
    for (int number = 1; number <= count; ++number) {
        const QString name = QStringLiteral("large %1").arg(number);
        const QString served = server.root() + QStringLiteral("/2/") + name;
        MakeSparse(served, size);
        QCOMPARE(ReadDigests(served, DigestKinds::Sha256AndMd5, digests), QString());
        manifest.files.push_back({name, digests.size, digests.md5, digests.sha256, 0644});
    }
    Publish(server, release, ManifestContent(manifest));
    QVERIFY(server.start());
    InplaceProgram program(Arguments(stage, server.url()));
    program.start(Limits);
    QVERIFY(program.waitForEnd(10 * Minutes));
    QVERIFY2(program.exitCode() == 0, program.errors().constData());
    qInfo("%d of %lld MiB: %lld s, at most %lld MiB", count, size >> 20,
          program.milliseconds() / 1000, program.peakMiB());
    for (int number = 1; number <= count; ++number) {
        FileDigests found;
        QCOMPARE(ReadDigests(stage.install + QStringLiteral("/large %1").arg(number),
                             DigestKinds::Sha256AndMd5, found),
                 QString());
        QCOMPARE(found.sha256, digests.sha256);
    }
    if (PeakMemory::isComparable()) {
        QVERIFY(program.peakMiB() <= (size >> 20) + MiBBesides);
    }
}

void tst_InplaceLarge::file_tooLarge_isRefused()
{
    InplaceStage stage(QStringLiteral("Sample"));
    const TestRelease old = SmallFiles(1, 1);
    stage.lay(old);
    const TestRelease release = SmallFiles(1, 2);
    ReleaseManifest manifest = release.manifest();
    manifest.files.push_back(
        {QStringLiteral("large"), TooLargeSize, QByteArray(32, 'A'), QByteArray(64, 'a'), 0644});
    FileMap files = release.published();
    files.insert(QStringLiteral("2/") + LOCAL_MD5_FILENAME, ManifestContent(manifest));
    stage.serve(ServeFiles(files));
    QCOMPARE(stage.run(), QStringLiteral("manifest"));
    QCOMPARE(stage.requested().size(), 2);
    QCOMPARE(stage.differences(old), QString());
}

void tst_InplaceLarge::file_largeInstalled_isReplacedOrShared_data()
{
    QTest::addColumn<bool>("isUsers");
    QTest::newRow("of the release, replaced by a small one") << false;
    QTest::newRow("of the user, kept") << true;
}

void tst_InplaceLarge::file_largeInstalled_isReplacedOrShared()
{
    QFETCH(bool, isUsers);
    const qint64 size = 5 * GiB; // more than an array of bytes or 32 bits can hold
    InplaceStage stage(QStringLiteral("Sample"));
    TestRelease old = SmallFiles(1, 1);
    TestRelease release = SmallFiles(1, 2);
    if (!isUsers) {
        old.tree.insert(QStringLiteral("large"), File("old"));
        release.tree.insert(QStringLiteral("large"), File("new"));
    }
    stage.lay(old);
    MakeSparse(stage.install + QStringLiteral("/large"), size);
    stage.publish(release);
    QCOMPARE(stage.run(), QStringLiteral("updated"));
    const QFileInfo former(stage.parent + QStringLiteral("/.Sample#previous/large"));
    const QFileInfo now(stage.install + QStringLiteral("/large"));
    QCOMPARE(former.size(), size);
    QCOMPARE(now.size(), isUsers ? size : 3);
    QVERIFY(stage.program().peakMiB() < 1024);
    QVERIFY(stage.program().milliseconds() < Minutes);
}

int main(int argc, char *argv[])
{
    (void)qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number(30 * Minutes));
    QCoreApplication application(argc, argv);
    tst_InplaceLarge test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_inplace_large.moc"
