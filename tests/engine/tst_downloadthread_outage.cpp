// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/WorkerProcess.h"
#include "tests/support/Nginx.h"
#include "tests/support/Relay.h"
#include "tests/support/ThrowAwayCa.h"

#include <QRegularExpression>
#include <QtTest>

namespace {

constexpr int QuickMs = 10000;
constexpr int DeadlineMs = 20000;
constexpr int TlsParts = 8;

const QString Success = QStringLiteral("更新成功");
const QString Separator = QStringLiteral("/");

} // namespace

/// How a worker in a process of its own ends, and what the next one does, when its server is killed
/// or TLS fails.
class tst_DownloadThreadOutage : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void server_killedInAFile_nextRunResumes_data();
    void server_killedInAFile_nextRunResumes();
    void tls_cutInTheMiddle_isANetworkError_data();
    void tls_cutInTheMiddle_isANetworkError();
    void tls_otherCertificateForTheSecondFile_isLookedAtAgain_data();
    void tls_otherCertificateForTheSecondFile_isLookedAtAgain();

private:
    QSslConfiguration certificate(ThrowAwayCa &authority) const
    {
        return authority.server("IP:127.0.0.1", 2);
    }
    static QString url(const Relay &relay)
    {
        return QStringLiteral("https://127.0.0.1:%1/").arg(relay.port());
    }

    QTemporaryDir m_folder;
    ThrowAwayCa m_trusted;
    ThrowAwayCa m_unknown;
    QString m_authorities;
    qint64 m_wholeTls = 0; // bytes that a server sends for m_file
    const QByteArray m_content = QByteArray(100, 'c');
    const QList<tagDownloadFileInfo> m_file{RecordOf(QStringLiteral("file"), m_content)};
};

/// Finds out the size of a whole response.
void tst_DownloadThreadOutage::initTestCase()
{
    QVERIFY(m_trusted.isValid() && m_unknown.isValid());
    m_authorities = m_folder.filePath(QStringLiteral("trusted.pem"));
    WriteFile(m_authorities, m_trusted.certificate().toPem());

    const ScriptedServer server(ServeFiles({{QStringLiteral("file"), m_content}}), 0,
                                certificate(m_trusted));
    const Relay relay({server.port()});
    const UpdateFolders folders;
    WorkerProcess worker(url(relay), folders, m_file, m_authorities);
    QCOMPARE(worker.end(DeadlineMs), Success);
    worker.report(QStringLiteral("TLS"));
    m_wholeTls = relay.passed();
}

void tst_DownloadThreadOutage::server_killedInAFile_nextRunResumes_data()
{
    QTest::addColumn<int>("killedIn");
    QTest::newRow("the first") << 0;
    QTest::newRow("the second of three") << 1;
    QTest::newRow("the last") << 2;
}

void tst_DownloadThreadOutage::server_killedInAFile_nextRunResumes()
{
    QFETCH(int, killedIn);
    Nginx server;
    QList<tagDownloadFileInfo> records;
    FileMap release;
    for (int i = 0; i < 3; ++i) {
        const QString path = QStringLiteral("folder/%1").arg(i);
        release.insert(path, QByteArray(i == killedIn ? 500000 : 100, static_cast<char>('a' + i)));
        records << RecordOf(path, release.value(path));
        WriteFile(server.root() + Separator + path, release.value(path));
    }
    const UpdateFolders folders;
    QVERIFY(server.start(100000)); // five seconds for the long file
    WorkerProcess killed(server.url() + Separator, folders, records);
    const QRegularExpression inTheMiddle(QStringLiteral("^progress [1-9][0-9]* 500000$"));
    QTRY_VERIFY(!killed.said().filter(inTheMiddle).isEmpty());
    server.kill();
    const QString end = killed.end(DeadlineMs);
    killed.report(QStringLiteral("server killed in file %1 of 3").arg(killedIn + 1));

    const QRegularExpression size(
        QStringLiteral("^下载更新文件%1大小不对\\(预期500000，实际[0-9]{1,6}\\)$").arg(killedIn));
    QVERIFY2(size.match(end).hasMatch(), qPrintable(end));
    FileMap staged = release;
    QList<QDateTime> written;
    for (int i = 0; i < 3; ++i) {
        if (i >= killedIn) {
            staged.remove(records.at(i).path);
        } else {
            written << QFileInfo(folders.stagingPath(records.at(i).path)).lastModified();
        }
    }
    QCOMPARE(ReadTree(folders.staging), staged);
    QVERIFY(ReadTree(folders.install).isEmpty());

    QVERIFY(server.start());
    WorkerProcess next(server.url() + Separator, folders, records);
    QCOMPARE(next.end(DeadlineMs), Success);
    next.report(QStringLiteral("resumed after that"));
    QCOMPARE(ReadTree(folders.install), release);
    QVERIFY(ReadTree(folders.staging).isEmpty());
    for (int i = 0; i < killedIn; ++i) { // what was staged is not written again
        QCOMPARE(QFileInfo(folders.installPath(records.at(i).path)).lastModified(), written.at(i));
    }
}

void tst_DownloadThreadOutage::tls_cutInTheMiddle_isANetworkError_data()
{
    QTest::addColumn<int>("part");
    for (int part = 0; part < TlsParts; ++part) {
        QTest::addRow("after %d/8 of the server's bytes", part) << part;
    }
}

void tst_DownloadThreadOutage::tls_cutInTheMiddle_isANetworkError()
{
    QFETCH(int, part);
    const ScriptedServer server(ServeFiles({{QStringLiteral("file"), m_content}}), 0,
                                certificate(m_trusted));
    const Relay relay({server.port()}, m_wholeTls * part / TlsParts);
    const UpdateFolders folders;
    WorkerProcess worker(url(relay), folders, m_file, m_authorities);
    QCOMPARE(worker.end(DeadlineMs), QStringLiteral("下载更新文件file网络错误"));
    worker.report(QStringLiteral("TLS, %1").arg(QString::fromLatin1(QTest::currentDataTag())));
    QVERIFY(worker.lifetime() < QuickMs);
    QVERIFY(ReadTree(folders.staging).isEmpty());
    QVERIFY(ReadTree(folders.install).isEmpty());
}

void tst_DownloadThreadOutage::tls_otherCertificateForTheSecondFile_isLookedAtAgain_data()
{
    QTest::addColumn<bool>("trusted");
    QTest::newRow("of the same authority") << true;
    QTest::newRow("of an unknown authority") << false;
}

void tst_DownloadThreadOutage::tls_otherCertificateForTheSecondFile_isLookedAtAgain()
{
    QFETCH(bool, trusted);
    const FileMap release{{QStringLiteral("a"), "a"}, {QStringLiteral("b"), "b"}};
    const QList<tagDownloadFileInfo> records{RecordOf(QStringLiteral("a"), "a"),
                                             RecordOf(QStringLiteral("b"), "b")};
    const ScriptedServer first(
        [&release](ScriptedConnection &connection, const QByteArray &request) {
            ServeFiles(release)(connection, request);
            connection.close();
        },
        0, certificate(m_trusted));
    const ScriptedServer second(ServeFiles(release), 0,
                                certificate(trusted ? m_trusted : m_unknown));
    const Relay relay({first.port(), second.port()});
    const UpdateFolders folders;
    WorkerProcess worker(url(relay), folders, records, m_authorities);
    const QString end = worker.end(DeadlineMs);
    worker.report(QStringLiteral("TLS, second certificate %1")
                      .arg(QString::fromLatin1(QTest::currentDataTag())));

    QCOMPARE(first.requests().size(), 1);
    const QStringList refused = worker.said().filter(QStringLiteral("untrusted "));
    if (trusted) {
        QCOMPARE(end, Success);
        QCOMPARE(refused, QStringList());
        QCOMPARE(ReadTree(folders.install), release);
        return;
    }
    QCOMPARE(end, QStringLiteral("下载更新文件b网络错误"));
    QVERIFY(refused.contains(QStringLiteral("untrusted UnableToGetLocalIssuerCertificate")));
    QVERIFY(second.connections() > 0);
    QVERIFY(second.requests().isEmpty());
    QCOMPARE(ReadTree(folders.staging), FileMap({{QStringLiteral("a"), "a"}}));
    QVERIFY(ReadTree(folders.install).isEmpty());
}

QTEST_GUILESS_MAIN(tst_DownloadThreadOutage)
#include "tst_downloadthread_outage.moc"
