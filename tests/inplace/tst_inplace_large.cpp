// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/Formats.h"
#include "tests/inplace/InplaceProgram.h"
#include "tests/support/Nginx.h"

#include <QCryptographicHash>
#include <QtTest>

namespace {

constexpr qint64 GiB = qint64{1} << 30;
// What a run may take at most; more of it is a failure of the program, not of the machine.
const auto MemoryLimit = QStringLiteral("ulimit -c 0; ulimit -v %1").arg(10 * GiB / 1024);
constexpr int Minutes = 60000;

FileMap SmallFiles(int count, const QByteArray &content)
{
    FileMap files;
    for (int i = 0; i < count; ++i) {
        files.insert(QStringLiteral("folder %1/file %2").arg(i / 500).arg(i),
                     QByteArray::number(i) + content);
    }
    return files;
}

/// Makes a file of zeros that takes no room.
void MakeSparse(const QString &path, qint64 size)
{
    WriteFile(path, "");
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite) && file.resize(size));
}

QByteArray StreamedMd5(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Md5);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? Md5Text(hash.result())
                                                                 : QByteArray();
}

void Publish(const Nginx &server, const QByteArray &manifest)
{
    WriteFile(server.root() + QStringLiteral("/update.json"), R"({"Folder":"release"})");
    WriteFile(server.root() + QStringLiteral("/release/update_md5.info"), manifest);
}

void Tell(const InplaceProgram &program, const char *what)
{
    qInfo("%s: %.1f s, at most %lld MiB", what, static_cast<double>(program.milliseconds()) / 1000,
          program.peakMiB());
}

} // namespace

/// Very many files and very large ones. Takes minutes, gigabytes of disk and of memory.
class tst_InplaceLarge : public QObject {
    Q_OBJECT

private slots:
    void manyFiles_old_areReplaced_data();
    void manyFiles_old_areReplaced();
    void largeFile_belowTheLimit_isReplaced_data();
    void largeFile_belowTheLimit_isReplaced();
    void largeFile_installed_isReplacedOrStays_data();
    void largeFile_installed_isReplacedOrStays();
    void largeBody_unlisted_isGivenUpEarly_data();
    void largeBody_unlisted_isGivenUpEarly();
};

void tst_InplaceLarge::manyFiles_old_areReplaced_data()
{
    QTest::addColumn<bool>("staged");
    QTest::newRow("to be fetched") << false;
    QTest::newRow("all staged already") << true;
}

void tst_InplaceLarge::manyFiles_old_areReplaced()
{
    QFETCH(bool, staged);
    const FileMap before = SmallFiles(100000, " of the old release");
    const FileMap release = SmallFiles(100000, " of the new one");
    const UpdateFolders folders;
    LayInstallation(folders.install, before);
    Nginx server;
    Publish(server, ManifestOf(release));
    const QDir there(staged ? folders.staging.path() : server.root() + QStringLiteral("/release"));
    for (auto file = release.cbegin(); file != release.cend(); ++file) {
        WriteFile(there.absoluteFilePath(file.key()), file.value());
    }
    QVERIFY(server.start());

    InplaceProgram program(server.url(), folders);
    program.start(MemoryLimit + QStringLiteral("; ulimit -s 8192"));
    QVERIFY(program.waitForEnd(10 * Minutes));
    QVERIFY2(program.exitCode() == 0, program.errors().right(1000).constData());
    Tell(program, "100,000 files");
    QVERIFY(ReadTree(folders.install) == Updated(before, release));
    QVERIFY(ReadTree(folders.staging).isEmpty());
}

void tst_InplaceLarge::largeFile_belowTheLimit_isReplaced_data()
{
    QTest::addColumn<qint64>("size");
    QTest::newRow("1.9 GiB") << 19 * GiB / 10;
    QTest::newRow("largest") << TooLargeSize - 1;
}

void tst_InplaceLarge::largeFile_belowTheLimit_isReplaced()
{
    QFETCH(qint64, size);
    const UpdateFolders folders;
    const QString installed = folders.installPath(QStringLiteral("large"));
    WriteFile(installed, "old");
    Nginx server;
    const QString served = server.root() + QStringLiteral("/release/large");
    MakeSparse(served, size);
    const QByteArray md5 = StreamedMd5(served);
    Publish(server, md5 + '\t' + QByteArray::number(size, 16) + "\tlarge\n");
    QVERIFY(server.start());

    InplaceProgram program(server.url(), folders);
    program.start(MemoryLimit);
    QVERIFY(program.waitForEnd(5 * Minutes));
    QVERIFY2(program.exitCode() == 0, program.errors().constData());
    Tell(program, QTest::currentDataTag());
    QCOMPARE(QFileInfo(installed).size(), size);
    QCOMPARE(StreamedMd5(installed), md5);
    QCOMPARE(ReadFile(installed + QStringLiteral(".old")), QByteArray("old"));
}

void tst_InplaceLarge::largeFile_installed_isReplacedOrStays_data()
{
    QTest::addColumn<bool>("fails");
    QTest::newRow("replaced by an empty one") << false;
    QTest::newRow("undone") << true;
}

void tst_InplaceLarge::largeFile_installed_isReplacedOrStays()
{
    QFETCH(bool, fails);
    const qint64 size = 2 * GiB + 1000; // more than an array of bytes can hold
    const UpdateFolders folders;
    const QString installed = folders.installPath(QStringLiteral("large"));
    MakeSparse(installed, size);
    // Listed with something else, or the list's word would be taken for it.
    WriteFile(folders.installPath(QStringLiteral("update_md5.info")), "x\t1\tlarge\n");
    WriteFile(folders.installPath(QStringLiteral("z")), "old");
    if (fails) { // what has the name of the old copy cannot be deleted
        WriteFile(folders.installPath(QStringLiteral("z.old/inner")), "x");
    }
    const ScriptedServer server(
        ServeFiles(Published({{QStringLiteral("large"), ""}, {QStringLiteral("z"), "new"}})));
    InplaceProgram program(server.url(QString()), folders);
    program.start(MemoryLimit);
    QVERIFY(program.waitForEnd(3 * Minutes));
    Tell(program, QTest::currentDataTag());
    QVERIFY2(program.exitCode() == (fails ? 1 : 0), program.errors().constData());
    QCOMPARE(program.report().contains(QStringLiteral("安装已恢复原状")), fails);
    QCOMPARE(QFileInfo(installed).size(), fails ? size : 0);
    QCOMPARE(QFileInfo(installed + QStringLiteral(".old")).size(), fails ? 0 : size);
}

void tst_InplaceLarge::largeBody_unlisted_isGivenUpEarly_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::newRow("announced") << "Content-Length: " + QByteArray::number(3 * GiB) + "\r\n";
    QTest::newRow("chunked") << QByteArray("Transfer-Encoding: chunked\r\n");
    QTest::newRow("until the connection closes") << QByteArray("Connection: close\r\n");
}

void tst_InplaceLarge::largeBody_unlisted_isGivenUpEarly()
{
    QFETCH(QByteArray, head);
    const QByteArray zeros(1 << 20, 0);
    const QByteArray block = head.startsWith("Transfer") ? "100000\r\n" + zeros + "\r\n" : zeros;
    const FileMap before{{QStringLiteral("a"), "old"}};
    const FileMap release{{QStringLiteral("a"), "new"}};
    const FileMap served = Published(release);
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &request) {
        if (!RequestedPath(request).endsWith(QStringLiteral("/a"))) {
            ServeFiles(served)(connection, request);
            return;
        }
        bool there = connection.send("HTTP/1.1 200 OK\r\n" + head + "\r\n");
        for (int sent = 0; there && sent < 3 * 1024; ++sent) {
            there = connection.send(block);
        }
        connection.close();
    });
    const UpdateFolders folders;
    LayInstallation(folders.install, before);
    InplaceProgram program(server.url(QString()), folders);
    program.start(MemoryLimit);
    QVERIFY(program.waitForEnd(Minutes));
    QCOMPARE(program.exitCode(), 1);
    QVERIFY2(program.report().contains(QStringLiteral("超过清单中的大小(3字节)")),
             qPrintable(program.report()));
    Tell(program, QTest::currentDataTag());
    QVERIFY(program.peakMiB() < 1024);
    QCOMPARE(WithoutKept(ReadTree(folders.install)), before);
}

int main(int argc, char *argv[])
{
    (void)qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number(15 * Minutes));
    QCoreApplication application(argc, argv);
    tst_InplaceLarge test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_inplace_large.moc"
