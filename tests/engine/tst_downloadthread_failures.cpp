// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/EngineFixture.h"

#include <QtTest>

/// What the worker makes of answers that are not right.
class tst_DownloadThreadFailures : public QObject {
    Q_OBJECT

private slots:
    void init();
    void answer_notRight_failsWithItsText_data();
    void answer_notRight_failsWithItsText();
    void answer_rightAfterAll_passes_data();
    void answer_rightAfterAll_passes();
    void size_halves_areCombinedTheOtherWayRound_data();
    void size_halves_areCombinedTheOtherWayRound();
    void connection_refused_isANetworkError();
    void url_notUsable_isANetworkError_data();
    void url_notUsable_isANetworkError();
    void failure_inTheMiddle_keepsWhatIsStaged();
    void failure_name_isFilledInLiterally();

private:
    QScopedPointer<UpdateFolders> m_folders;
};

void tst_DownloadThreadFailures::init()
{
    m_folders.reset(new UpdateFolders);
}

void tst_DownloadThreadFailures::answer_notRight_failsWithItsText_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("text");
    const auto network = QStringLiteral("下载更新文件file.bin网络错误");
    const auto size = [](const QString &actual) {
        return QStringLiteral("下载更新文件file.bin大小不对(预期7，实际%1)").arg(actual);
    };
    const auto row = [](const char *what, const QByteArray &answer, const QString &text) {
        QTest::newRow(what) << answer << text;
    };
    const QByteArray body("content");
    const auto whole = [&body](const QByteArray &status, const QByteArray &headers = {}) {
        return ScriptedServer::answer(status, body, headers);
    };
    row("201", whole("201 Created"), network);
    row("203", whole("203 Non-Authoritative Information"), network);
    row("204", "HTTP/1.1 204 No Content\r\n\r\n", network);
    row("206", whole("206 Partial Content", "Content-Range: bytes 0-6/7\r\n"), network);
    row("301", whole("301 Moved Permanently", "Location: /other\r\n"), network);
    row("302", whole("302 Found", "Location: /other\r\n"), network);
    row("304", "HTTP/1.1 304 Not Modified\r\n\r\n", network);
    row("400", whole("400 Bad Request"), network);
    row("403", whole("403 Forbidden"), network);
    row("404", whole("404 Not Found"), network);
    row("404, empty", ScriptedServer::answer("404 Not Found", {}), network);
    row("500", whole("500 Internal Server Error"), network);
    row("503", whole("503 Service Unavailable"), network);
    row("no answer", {}, network);
    row("no status", "nothing like HTTP\r\n\r\n", network);
    row("dropped in the head", "HTTP/1.1 200 OK\r\nContent-Le", network);
    row("dropped in the body", "HTTP/1.1 200 OK\r\nContent-Length: 7\r\n\r\ncont",
        size(QStringLiteral("4")));
    row("dropped before the body", "HTTP/1.1 200 OK\r\nContent-Length: 7\r\n\r\n",
        size(QStringLiteral("0")));
    row("short", ScriptedServer::answer("200 OK", "conten"), size(QStringLiteral("6")));
    row("long", ScriptedServer::answer("200 OK", "contents"), size(QStringLiteral("8")));
    row("empty", ScriptedServer::answer("200 OK", {}), size(QStringLiteral("0")));
    row("wrong MD5", ScriptedServer::answer("200 OK", "c0ntent"),
        QStringLiteral("更新文件file.bin校验不对"));
}

void tst_DownloadThreadFailures::answer_notRight_failsWithItsText()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, text);
    const ReplyWatch watch;
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &) {
        connection.send(answer);
        connection.close();
    });
    const auto path = QStringLiteral("folder/file.bin");

    WorkerRun run(server.url(QStringLiteral("/")), *m_folders,
                  {RecordOf(path, "content"), RecordOf(QStringLiteral("next"), "next")});

    QVERIFY(run.ended);
    // A redirect is not followed, and no further file is asked for. (Where no answer came, the
    // network layer tries the same address again by itself.)
    for (const QByteArray &request : server.requests()) {
        QCOMPARE(RequestedPath(request), QStringLiteral("/folder/file.bin"));
    }
    QVERIFY(!run.worker.success());
    QCOMPARE(run.worker.errormsg(), text);
    QCOMPARE(run.failed.size(), 1);
    QCOMPARE(run.failed.first().at(0).value<QFileInfo>().absoluteFilePath(),
             m_folders->stagingPath(path));
    QCOMPARE(run.failed.first().at(1).toString(), text);
    QVERIFY(ReadTree(m_folders->staging).isEmpty());
    QVERIFY(ReadTree(m_folders->install).isEmpty());
    QTRY_COMPARE(watch.alive(), 0);
    QCOMPARE(watch.released(), 1); // and no request for the next file
}

void tst_DownloadThreadFailures::answer_rightAfterAll_passes_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("chunked") << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                           "3\r\ncon\r\n4\r\ntent\r\n0\r\n\r\n");
    QTest::newRow("told longer than sent, yet whole")
        << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\ncontent");
    QTest::newRow("an odd reason") << ScriptedServer::answer("200 Not Found", "content");
}

void tst_DownloadThreadFailures::answer_rightAfterAll_passes()
{
    // Only the status, the size and the MD5 text count; the network's own error is not asked.
    QFETCH(QByteArray, answer);
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &) {
        connection.send(answer);
        connection.close();
    });
    WorkerRun run(server.url(QStringLiteral("/")), *m_folders,
                  {RecordOf(QStringLiteral("file"), "content")});
    QCOMPARE(run.worker.errormsg(), QStringLiteral("更新成功"));
    QVERIFY(run.worker.success());
}

void tst_DownloadThreadFailures::size_halves_areCombinedTheOtherWayRound_data()
{
    QTest::addColumn<quint32>("high");
    QTest::addColumn<quint32>("low");
    QTest::addColumn<QString>("text");
    QTest::newRow("as the manifest reads 10")
        << 0U << 16U << QStringLiteral("预期68719476736，实际16");
    QTest::newRow("swapped") << 16U << 0U << QStringLiteral("更新成功");
    QTest::newRow("both halves") << 16U << 1U << QStringLiteral("预期4294967312，实际16");
    QTest::newRow("largest, unsigned")
        << 0xFFFFFFFFU << 0xFFFFFFFFU << QStringLiteral("预期18446744073709551615，实际16");
}

void tst_DownloadThreadFailures::size_halves_areCombinedTheOtherWayRound()
{
    QFETCH(quint32, high);
    QFETCH(quint32, low);
    QFETCH(QString, text);
    const QByteArray body(16, 'x');
    const ScriptedServer server(ServeFiles({{QStringLiteral("file"), body}}));
    tagDownloadFileInfo record = RecordOf(QStringLiteral("file"), body);
    record.sizeHigh = high;
    record.sizeLow = low;

    WorkerRun run(server.url(QStringLiteral("/")), *m_folders, {record});

    QVERIFY2(run.worker.errormsg().contains(text), qPrintable(run.worker.errormsg()));
}

void tst_DownloadThreadFailures::connection_refused_isANetworkError()
{
    QString url;
    {
        const ScriptedServer gone(ServeFiles({}));
        url = gone.url(QStringLiteral("/"));
    }
    const ReplyWatch watch;
    WorkerRun run(url, *m_folders, {RecordOf(QStringLiteral("file"), "content")});
    QCOMPARE(run.worker.errormsg(), QStringLiteral("下载更新文件file网络错误"));
    QTRY_COMPARE(watch.alive(), 0);
    QCOMPARE(watch.released(), 1);
}

void tst_DownloadThreadFailures::url_notUsable_isANetworkError_data()
{
    QTest::addColumn<QString>("url");
    QTest::newRow("empty") << QString();
    QTest::newRow("no scheme") << QStringLiteral("127.0.0.1/");
    QTest::newRow("unknown scheme") << QStringLiteral("nothing://127.0.0.1/");
    QTest::newRow("not valid") << QStringLiteral("http://127.0.0.1:notaport/");
    QTest::newRow("a local file has no status") << QStringLiteral("file:///");
}

void tst_DownloadThreadFailures::url_notUsable_isANetworkError()
{
    QFETCH(QString, url);
    const ReplyWatch watch;
    WorkerRun run(url, *m_folders, {RecordOf(QStringLiteral("file"), "content")});
    QVERIFY(run.ended);
    QCOMPARE(run.worker.errormsg(), QStringLiteral("下载更新文件file网络错误"));
    QTRY_COMPARE(watch.alive(), 0);
    QCOMPARE(watch.released(), 1);
}

void tst_DownloadThreadFailures::failure_inTheMiddle_keepsWhatIsStaged()
{
    FileMap served{{QStringLiteral("a"), "a"}, {QStringLiteral("d/b"), "b"}};
    const QList<tagDownloadFileInfo> records{RecordOf(QStringLiteral("a"), "a"),
                                             RecordOf(QStringLiteral("d/b"), "b"),
                                             RecordOf(QStringLiteral("c"), "c")};
    {
        const ScriptedServer server(ServeFiles(served));
        WorkerRun run(server.url(QStringLiteral("/")), *m_folders, records);
        QCOMPARE(run.worker.errormsg(), QStringLiteral("下载更新文件c网络错误"));
        QCOMPARE(ReadTree(m_folders->staging), served);
        QVERIFY(ReadTree(m_folders->install).isEmpty());
    }
    served.insert(QStringLiteral("c"), "c");
    const ScriptedServer server(ServeFiles(served));
    WorkerRun run(server.url(QStringLiteral("/")), *m_folders, records);
    QVERIFY(run.worker.success());
    QCOMPARE(server.requests().size(), 1); // it went on where it had stopped
    QCOMPARE(ReadTree(m_folders->install), served);
}

void tst_DownloadThreadFailures::failure_name_isFilledInLiterally()
{
    const ScriptedServer server(ServeFiles({{QStringLiteral("%2%1"), "short"}}));
    tagDownloadFileInfo record = RecordOf(QStringLiteral("d/%2%1"), "content");
    WorkerRun run(server.url(QStringLiteral("/")), *m_folders, {record});
    QCOMPARE(run.worker.errormsg(), QStringLiteral("下载更新文件%2%1网络错误"));
}

QTEST_GUILESS_MAIN(tst_DownloadThreadFailures)
#include "tst_downloadthread_failures.moc"
