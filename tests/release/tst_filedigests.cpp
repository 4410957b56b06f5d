// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/FileDigests.h"

#include "core/Func.h"
#include "release/Descriptor.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/TestFiles.h"

#include <QCryptographicHash>
#include <QProcess>
#include <QtTest>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

class tst_FileDigests : public QObject {
    Q_OBJECT

private slots:
    static void digests_publishedValues_areMade_data();
    static void digests_publishedValues_areMade();
    static void digests_pieces_giveWhatTheWholeGives();
    static void readDigests_file_isReadToItsEnd_data();
    static void readDigests_file_isReadToItsEnd();
    static void readDigests_descriptor_isReadFromWhereItStands();
    static void readDigests_notAFile_isRefused_data();
    static void readDigests_notAFile_isRefused();
    static void readDigests_readThatFails_isSaid();
    static void readDigests_systemWithoutAlgorithm_isSaid();
    static void readDigests_manyThreads_agree();
};

namespace {

FileDigests Digests(const QByteArray &content, DigestKinds kinds)
{
    DigestMaker maker(kinds);
    maker.add(content.constData(), static_cast<std::size_t>(content.size()));
    FileDigests digests;
    const QString reason = maker.finish(digests);
    return reason.isEmpty() ? digests : FileDigests();
}

QByteArray Sha256(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
}

/// Runs the driver, which prints the digests of a file.
QString Run(const QStringList &wrapper, const QString &path)
{
    const QStringList command =
        wrapper + QStringList{QStringLiteral(DURABLE_DRIVER), "digest", path};
    QProcess process;
    process.start(command.constFirst(), command.mid(1));
    return process.waitForFinished() && process.exitCode() == 0
               ? QString::fromUtf8(process.readAllStandardOutput())
               : QStringLiteral("the driver did not end by itself");
}

} // namespace

void tst_FileDigests::digests_publishedValues_areMade_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("sha256");
    QTest::addColumn<QByteArray>("md5"); // four bytes in reverse order at a time
    // FIPS 180-2, appendix B, and RFC 1321, A.5.
    QTest::newRow("empty")
        << QByteArray()
        << QByteArray("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855")
        << QByteArray("d98c1dd404b2008f980980e97e42f8ec");
    QTest::newRow("abc") << QByteArray("abc")
                         << QByteArray(
                                "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad")
                         << QByteArray("98500190b04fd23c7d3f96d6727fe128");
    QTest::newRow("two blocks")
        << QByteArray("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")
        << QByteArray("248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1")
        << Md5Hash("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq");
    QTest::newRow("a million letters")
        << QByteArray(1000000, 'a')
        << QByteArray("cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0")
        << Md5Hash(QByteArray(1000000, 'a'));
}

void tst_FileDigests::digests_publishedValues_areMade()
{
    QFETCH(QByteArray, content);
    const FileDigests both = Digests(content, DigestKinds::Sha256AndMd5);
    QTEST(both.sha256, "sha256");
    QTEST(both.md5, "md5");
    QCOMPARE(both.size, static_cast<quint64>(content.size()));
    const FileDigests one = Digests(content, DigestKinds::Sha256);
    QTEST(one.sha256, "sha256");
    QCOMPARE(one.md5, QByteArray());
    QCOMPARE(one.size, static_cast<quint64>(content.size()));
}

void tst_FileDigests::digests_pieces_giveWhatTheWholeGives()
{
    QByteArray content;
    for (int number = 0; number < 100; ++number) {
        content += QByteArray::number(number * 7919);
    }
    for (int piece = 1; piece < content.size(); piece += 13) {
        DigestMaker maker(DigestKinds::Sha256AndMd5);
        for (int at = 0; at < content.size(); at += piece) {
            const QByteArray part = content.mid(at, piece);
            maker.add(part.constData(), static_cast<std::size_t>(part.size()));
        }
        FileDigests digests;
        QCOMPARE(maker.finish(digests), QString());
        QCOMPARE(digests.sha256, Sha256(content));
        QCOMPARE(digests.md5, Md5Hash(content));
    }
}

void tst_FileDigests::readDigests_file_isReadToItsEnd_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {0, 1, 65535, 65536, 65537, 131072, 5000000}) {
        QTest::newRow(qPrintable(QString::number(size))) << size;
    }
}

void tst_FileDigests::readDigests_file_isReadToItsEnd()
{
    QFETCH(int, size);
    QByteArray content(size, 'x');
    for (int at = 0; at < size; at += 1000) {
        content[at] = static_cast<char>(at / 1000);
    }
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("文件"));
    WriteFile(path, content);
    FileDigests digests;
    QCOMPARE(ReadDigests(path, DigestKinds::Sha256AndMd5, digests), QString());
    QCOMPARE(digests.size, static_cast<quint64>(size));
    QCOMPARE(digests.sha256, Sha256(content));
    QCOMPARE(digests.md5, Md5Hash(content));
    QVERIFY(CheckFileMd5(path, digests.md5));
}

void tst_FileDigests::readDigests_descriptor_isReadFromWhereItStands()
{
    const QTemporaryDir folder;
    WriteFile(folder.filePath("file"), "one two");
    Descriptor file;
    QCOMPARE(OpenRegularFile(folder.filePath("file"), file), QString());
    QCOMPARE(::lseek(file.number(), 4, SEEK_SET), off_t(4));
    FileDigests digests;
    QCOMPARE(ReadDigests(file.number(), DigestKinds::Sha256, digests), QString());
    QCOMPARE(digests.sha256, Sha256("two"));
    QCOMPARE(digests.size, quint64(3));
}

void tst_FileDigests::readDigests_notAFile_isRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    QTest::newRow("missing") << "none"
                             << "No such file or directory";
    QTest::newRow("folder") << "folder"
                            << "it is not a regular file";
    QTest::newRow("link to a file") << "link"
                                    << "it is not a regular file";
    QTest::newRow("pipe") << "pipe"
                          << "it is not a regular file";
}

void tst_FileDigests::readDigests_notAFile_isRefused()
{
    QFETCH(QString, name);
    const QTemporaryDir folder;
    WriteFile(folder.filePath("file"), "x");
    QVERIFY(QDir(folder.path()).mkdir("folder"));
    QVERIFY(QFile::link("file", folder.filePath("link")));
    QCOMPARE(::mkfifo(QFile::encodeName(folder.filePath("pipe")).constData(), 0600), 0);
    FileDigests digests;
    QTEST(ReadDigests(folder.filePath(name), DigestKinds::Sha256, digests), "reason");
    QCOMPARE(digests.sha256, QByteArray());
}

void tst_FileDigests::readDigests_readThatFails_isSaid()
{
    const QTemporaryDir folder;
    WriteFile(folder.filePath("file"), QByteArray(200000, 'x'));
    FailingCalls calls(folder.path(), {"read"});
    QCOMPARE(Run(calls.letThrough(), folder.filePath("file")), QString());
    QCOMPARE(calls.count(), 5); // four blocks and the end
    for (int number = 1; number <= 5; ++number) {
        QCOMPARE(Run(calls.failOnce(number, EIO), folder.filePath("file")),
                 QString("Input/output error"));
        // An interrupting signal is no failure.
        QCOMPARE(Run(calls.failOnce(number, EINTR), folder.filePath("file")), QString());
        QVERIFY(calls.hasFailed());
    }
}

void tst_FileDigests::readDigests_systemWithoutAlgorithm_isSaid()
{
    const QTemporaryDir folder;
    WriteFile(folder.filePath("file"), "x");
    WriteFile(folder.filePath("openssl.cnf"), "openssl_conf = all\n"
                                              "[all]\nproviders = providers\nalg_section = rules\n"
                                              "[providers]\ndefault = on\n[on]\nactivate = 1\n"
                                              "[rules]\ndefault_properties = fips=yes\n");
    const QStringList wrapper{"env", "OPENSSL_CONF=" + folder.filePath("openssl.cnf")};
    QCOMPARE(Run(wrapper, folder.filePath("file")),
             QString("this system's cryptographic library has no SHA-256"));
}

void tst_FileDigests::readDigests_manyThreads_agree()
{
    const QTemporaryDir folder;
    const QByteArray content(1000000, 'x');
    WriteFile(folder.filePath("file"), content);
    std::vector<FileDigests> results(8);
    std::vector<std::thread> threads;
    for (FileDigests &result : results) {
        threads.emplace_back([&result, &folder] {
            (void)ReadDigests(folder.filePath("file"), DigestKinds::Sha256AndMd5, result);
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    for (const FileDigests &result : results) {
        QCOMPARE(result.sha256, Sha256(content));
        QCOMPARE(result.md5, Md5Hash(content));
    }
}

QTEST_APPLESS_MAIN(tst_FileDigests)
#include "tst_filedigests.moc"
