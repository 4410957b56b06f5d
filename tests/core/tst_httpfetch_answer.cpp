// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/core/FetchCall.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

/// How GetFileByUrl() treats a response that arrived.
class tst_HttpFetchAnswer : public QObject {
    Q_OBJECT

private slots:
    static void getFileByUrl_status200_givesTheBody_data();
    static void getFileByUrl_status200_givesTheBody();
    static void getFileByUrl_otherStatus_failsWithTheStatusBehindTheErrorText_data();
    static void getFileByUrl_otherStatus_failsWithTheStatusBehindTheErrorText();
    static void getFileByUrl_placeholderInErrorText_isLeftAlone_data();
    static void getFileByUrl_placeholderInErrorText_isLeftAlone();
    static void getFileByUrl_redirect_isNotFollowed();
    static void getFileByUrl_success_assignsResponseHeadersIntoTheMap();
    static void getFileByUrl_repeatedResponseHeader_leavesTheNetworkLayersEntry();
    static void getFileByUrl_noHeaderMap_isAllowed();
};

void tst_HttpFetchAnswer::getFileByUrl_status200_givesTheBody_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("body") << ScriptedServer::answer("200 OK", "body") << QByteArray("body");
    QTest::newRow("empty body") << ScriptedServer::answer("200 OK", "") << QByteArray();
    QTest::newRow("NUL inside") << ScriptedServer::answer("200 OK", QByteArray("a\0b", 3))
                                << QByteArray("a\0b", 3);
    QTest::newRow("another reason phrase")
        << ScriptedServer::answer("200 Not Found", "body") << QByteArray("body");
    QTest::newRow("no reason phrase")
        << ScriptedServer::answer("200 ", "body") << QByteArray("body");
    QTest::newRow("chunked") << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                                           "2\r\nbo\r\n2\r\ndy\r\n0\r\n\r\n")
                             << QByteArray("body");
    QTest::newRow("after 100 Continue")
        << "HTTP/1.1 100 Continue\r\n\r\n" + ScriptedServer::answer("200 OK", "body")
        << QByteArray("body");
    const QByteArray big(3 * 1024 * 1024, 'b');
    QTest::newRow("3 MiB") << ScriptedServer::answer("200 OK", big) << big;
}

void tst_HttpFetchAnswer::getFileByUrl_status200_givesTheBody()
{
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, body);
    const ScriptedServer server(ScriptedServer::always(answer));
    QNetworkAccessManager manager;
    FetchCall call;
    QVERIFY(call.run(manager, server.url("/update.json")));
    QCOMPARE(call.data, body);
    QCOMPARE(call.error, FetchCall().error);
}

void tst_HttpFetchAnswer::getFileByUrl_otherStatus_failsWithTheStatusBehindTheErrorText_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("suffix");
    const auto addStatus = [](int code, const char *phrase, const char *headers = "") {
        const QByteArray status = QByteArray::number(code) + ' ' + phrase;
        QTest::newRow(status.constData()) << ScriptedServer::answer(status, "body", headers)
                                          << ",status=" + QString::number(code);
    };
    addStatus(201, "Created");
    addStatus(203, "Non-Authoritative Information");
    addStatus(206, "Partial Content", "Content-Range: bytes 0-3/4\r\n");
    addStatus(301, "Moved Permanently", "Location: /elsewhere\r\n");
    addStatus(302, "Found", "Location: /elsewhere\r\n");
    addStatus(307, "Temporary Redirect", "Location: /elsewhere\r\n");
    addStatus(400, "Bad Request");
    addStatus(401, "Unauthorized", "WWW-Authenticate: Basic realm=\"r\"\r\n");
    addStatus(403, "Forbidden");
    addStatus(404, "Not Found");
    addStatus(407, "Proxy Authentication Required");
    addStatus(500, "Internal Server Error");
    addStatus(503, "Service Unavailable");
    QTest::newRow("204 No Content")
        << QByteArray("HTTP/1.1 204 No Content\r\n\r\n") << ",status=204";
    QTest::newRow("304 Not Modified")
        << QByteArray("HTTP/1.1 304 Not Modified\r\n\r\n") << ",status=304";
    QTest::newRow("status that is no number")
        << QByteArray("HTTP/1.1 OK 200\r\nContent-Length: 4\r\n\r\nbody") << ",status=0";
    QTest::newRow("garbage instead of a status line")
        << QByteArray("220 mail.example.com ready\r\n\r\n") << ",status=0";
}

void tst_HttpFetchAnswer::getFileByUrl_otherStatus_failsWithTheStatusBehindTheErrorText()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, suffix);
    const ScriptedServer server([answer](ScriptedConnection &connection, const QByteArray &) {
        connection.send(answer);
        connection.close();
    });
    WatchedManager manager;
    FetchCall call;
    QVERIFY(!call.run(manager, server.url("/update.json")));
    QVERIFY(!manager.reply()->errorString().isEmpty());
    QCOMPARE(call.error, manager.reply()->errorString() + suffix);
    QVERIFY(call.successOutputsUntouched());
}

void tst_HttpFetchAnswer::getFileByUrl_placeholderInErrorText_isLeftAlone_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("status");
    QTest::newRow("in the address") << "/%1/%251" << QByteArray("404 Not Found");
    QTest::newRow("in the reason phrase") << "/" << QByteArray("404 No %1");
}

void tst_HttpFetchAnswer::getFileByUrl_placeholderInErrorText_isLeftAlone()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, status);
    const ScriptedServer server(ScriptedServer::always(ScriptedServer::answer(status, "")));
    WatchedManager manager;
    FetchCall call;
    QVERIFY(!call.run(manager, server.url(path)));
    QVERIFY(manager.reply()->errorString().contains('%'));
    QCOMPARE(call.error, manager.reply()->errorString() + ",status=404");
}

void tst_HttpFetchAnswer::getFileByUrl_redirect_isNotFollowed()
{
    const ScriptedServer target(
        ScriptedServer::always(ScriptedServer::answer("200 OK", "elsewhere")));
    const QByteArray location = "Location: " + target.url("/").toUtf8() + "\r\n";
    const ScriptedServer server(
        ScriptedServer::always(ScriptedServer::answer("302 Found", "", location)));
    QNetworkAccessManager manager;
    FetchCall call;
    QVERIFY(!call.run(manager, server.url("/update.json")));
    QVERIFY(call.error.endsWith(",status=302"));
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(target.connections(), 0);
}

void tst_HttpFetchAnswer::getFileByUrl_success_assignsResponseHeadersIntoTheMap()
{
    const ScriptedServer server(ScriptedServer::always(
        ScriptedServer::answer("200 OK", "body", "Before: new value\r\nX-Other:  blanks \r\n")));
    QNetworkAccessManager manager;
    FetchCall call;
    call.responseHeaders.insert("Never-Sent", "stays");
    QVERIFY(call.run(manager, server.url("/")));
    const QMap<QByteArray, QByteArray> expected{{"Before", "new value"},
                                                {"Content-Length", "4"},
                                                {"Never-Sent", "stays"},
                                                {"X-Other", "blanks"}};
    QCOMPARE(call.responseHeaders, expected);
}

void tst_HttpFetchAnswer::getFileByUrl_repeatedResponseHeader_leavesTheNetworkLayersEntry()
{
    const ScriptedServer server(ScriptedServer::always(
        ScriptedServer::answer("200 OK", "", "X-Twice: one\r\nx-twice: two\r\n")));
    WatchedManager manager;
    FetchCall call;
    call.responseHeaders.insert("x-twice", "before");
    QVERIFY(call.run(manager, server.url("/")));
    QCOMPARE(manager.reply()->rawHeader("x-twice"), QByteArray("one, two"));
    QCOMPARE(call.responseHeaders.value("x-twice"), QByteArray("one, two"));
    QVERIFY(!call.responseHeaders.contains("X-Twice"));
}

void tst_HttpFetchAnswer::getFileByUrl_noHeaderMap_isAllowed()
{
    const ScriptedServer server(
        ScriptedServer::always(ScriptedServer::answer("200 OK", "body", "X-Other: 1\r\n")));
    QNetworkAccessManager manager;
    QByteArray data;
    QString error;
    QVERIFY(GetFileByUrl(manager, server.url("/"), data, error, 20, {}, "GET", {}, nullptr));
    QCOMPARE(data, QByteArray("body"));
}

QTEST_GUILESS_MAIN(tst_HttpFetchAnswer)
#include "tst_httpfetch_answer.moc"
