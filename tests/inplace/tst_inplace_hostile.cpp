// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceStage.h"

#include <QtTest>

#include <atomic>

namespace {

const QByteArray Block(1 << 16, 'x');

/// Sends a body that does not end before \a most bytes, as long as the peer takes it. Returns
/// whether the peer went away.
bool SendMuch(ScriptedConnection &connection, bool chunked, qint64 most)
{
    bool there = connection.send("HTTP/1.1 200 OK\r\n" +
                                 (chunked ? QByteArray("Transfer-Encoding: chunked")
                                          : "Content-Length: " + QByteArray::number(most)) +
                                 "\r\n\r\n");
    for (qint64 sent = 0; there && sent < most; sent += Block.size()) {
        there = connection.send(
            chunked ? QByteArray::number(Block.size(), 16) + "\r\n" + Block + "\r\n" : Block);
        connection.pause(1); // so that the machine's memory is not what ends it
    }
    return !there;
}

} // namespace

/// Servers that send far more than they should.
class tst_InplaceHostile : public QObject {
    Q_OBJECT

private slots:
    void file_longerThanListed_isGivenUp_data();
    void file_longerThanListed_isGivenUp();
    void file_aLittleTooLong_isToldOfByTheWorker();
    void description_tooLong_isGivenUp_data();
    void description_tooLong_isGivenUp();
};

void tst_InplaceHostile::file_longerThanListed_isGivenUp_data()
{
    QTest::addColumn<bool>("chunked");
    QTest::addColumn<bool>("console");
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("listed"); // the size that the message tells
    const int longest = InplaceStage::newRelease().value(QStringLiteral("d/changed")).size();
    QTest::newRow("first file, announced") << false << true << "d/changed" << longest;
    QTest::newRow("first file, chunked") << true << true << "d/changed" << longest;
    QTest::newRow("last file, announced") << false << true << "z" << 5;
    QTest::newRow("last file, chunked") << true << true << "z" << 5;
    QTest::newRow("windows, announced") << false << false << "z" << 5;
    QTest::newRow("windows, chunked") << true << false << "z" << 5;
}

void tst_InplaceHostile::file_longerThanListed_isGivenUp()
{
    QFETCH(bool, chunked);
    QFETCH(bool, console);
    QFETCH(QString, file);
    QFETCH(int, listed);
    InplaceStage stage;
    const FileMap published = Published(InplaceStage::newRelease());
    std::atomic<bool> givenUp{false};
    stage.serve([&](ScriptedConnection &connection, const QByteArray &request) {
        if (RequestedPath(request) == QStringLiteral("/release/") + file) {
            givenUp = SendMuch(connection, chunked, qint64{1} << 30);
            return;
        }
        ServeFiles(published)(connection, request);
    });
    const FileMap before = stage.installed();
    QElapsedTimer timer;
    timer.start();
    const Outcome outcome = stage.update(console);
    QVERIFY(timer.elapsed() < 10000); // it takes longer to send it all
    QCOMPARE(outcome.message,
             QStringLiteral("服务器发送的内容超过清单中的大小(%1字节)").arg(listed));
    QVERIFY(!outcome.success && !outcome.update);
    QTRY_VERIFY(givenUp);
    QCOMPARE(stage.installed(), before);

    stage.publish(InplaceStage::newRelease());
    QVERIFY(stage.update().success);
    QCOMPARE(stage.installed(), InplaceStage::updated());
    QVERIFY(stage.staged().isEmpty());
}

void tst_InplaceHostile::file_aLittleTooLong_isToldOfByTheWorker()
{
    InplaceStage stage;
    FileMap published = Published(InplaceStage::newRelease());
    published[QStringLiteral("release/z")] += '!';
    stage.serve(ServeFiles(published));
    QCOMPARE(stage.update().message, QStringLiteral("下载更新文件z大小不对(预期5，实际6)"));
}

void tst_InplaceHostile::description_tooLong_isGivenUp_data()
{
    QTest::addColumn<bool>("chunked");
    QTest::newRow("announced") << false;
    QTest::newRow("chunked") << true;
}

void tst_InplaceHostile::description_tooLong_isGivenUp()
{
    QFETCH(bool, chunked);
    InplaceStage stage;
    std::atomic<bool> givenUp{false};
    stage.serve([&](ScriptedConnection &connection, const QByteArray &) {
        givenUp = SendMuch(connection, chunked, qint64{1} << 30);
    });
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(stage.update().message, QStringLiteral("下载升级描述文件失败:内容超过1048576字节"));
    QVERIFY(timer.elapsed() < 10000); // it takes longer to send it all
    QTRY_VERIFY(givenUp);
}

QTEST_MAIN(tst_InplaceHostile)
#include "tst_inplace_hostile.moc"
