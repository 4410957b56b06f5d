// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/core/FetchCall.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

/// What GetFileByUrl() puts on the wire.
class tst_HttpFetchRequest : public QObject {
    Q_OBJECT

private slots:
    static void getFileByUrl_anyVerb_travelsWithAnyBody_data();
    static void getFileByUrl_anyVerb_travelsWithAnyBody();
    static void getFileByUrl_headers_areSentInAscendingOrderAsGiven();
    static void getFileByUrl_noHeaders_leavesTheRequestToTheNetworkLayer();
    static void getFileByUrl_request_asksForNothingOfItsOwn();
    static void getFileByUrl_address_isSentEncoded_data();
    static void getFileByUrl_address_isSentEncoded();
    static void getFileByUrl_manager_servesManyCalls();
    static void getFileByUrl_freshManagerForEachAttempt_opensOneConnectionEach();
};

namespace {

const QByteArray Answer = ScriptedServer::answer("200 OK", "body");

QByteArray Head(const QByteArray &request)
{
    return request.left(request.indexOf("\r\n\r\n"));
}

QByteArray Body(const QByteArray &request)
{
    return request.mid(request.indexOf("\r\n\r\n") + 4);
}

QList<QByteArray> HeaderNames(const QByteArray &request)
{
    QList<QByteArray> names;
    const QList<QByteArray> lines = Head(request).split('\n').mid(1);
    for (const QByteArray &line : lines) {
        names.append(line.left(line.indexOf(':')));
    }
    return names;
}

} // namespace

void tst_HttpFetchRequest::getFileByUrl_anyVerb_travelsWithAnyBody_data()
{
    QTest::addColumn<QByteArray>("verb");
    QTest::addColumn<QByteArray>("body");
    for (const QByteArray verb : {"GET", "POST", "PUT", "DELETE", "OPTIONS", "PATCH", "FETCH-IT"}) {
        QTest::newRow((verb + " without a body").constData()) << verb << QByteArray();
        QTest::newRow((verb + " with a body").constData()) << verb << QByteArray("a=1\r\nb\0c", 9);
    }
    QTest::newRow("lower-case verb as it stands") << QByteArray("get") << QByteArray();
    QTest::newRow("1 MiB") << QByteArray("PUT") << QByteArray(1024 * 1024, 'b');
}

void tst_HttpFetchRequest::getFileByUrl_anyVerb_travelsWithAnyBody()
{
    const ScriptedServer server(ScriptedServer::always(Answer));
    QNetworkAccessManager manager;
    QFETCH(QByteArray, verb);
    QFETCH(QByteArray, body);
    FetchCall call;
    call.verb = verb;
    call.body = body;
    QVERIFY2(call.run(manager, server.url("/a/b?c=d")), qPrintable(call.error));
    QCOMPARE(call.data, QByteArray("body"));
    QCOMPARE(server.requests().size(), 1);
    const QByteArray request = server.requests().constFirst();
    QCOMPARE(request.left(request.indexOf('\r')), verb + " /a/b?c=d HTTP/1.1");
    QCOMPARE(Body(request), body);
}

void tst_HttpFetchRequest::getFileByUrl_headers_areSentInAscendingOrderAsGiven()
{
    const ScriptedServer server(ScriptedServer::always(Answer));
    QNetworkAccessManager manager;
    FetchCall call;
    call.headers = {
        {"x-lower", "4"}, {"X-B", "two  blanks"}, {"X-a", "3"}, {"Accept", "any/thing"}};
    QVERIFY(call.run(manager, server.url("/")));
    const QByteArray head = Head(server.requests().constFirst()) + "\r\n";
    int last = 0;
    for (const char *line :
         {"Accept: any/thing\r\n", "X-B: two  blanks\r\n", "X-a: 3\r\n", "x-lower: 4\r\n"}) {
        const int at = head.indexOf(line);
        QVERIFY2(at > last, head.constData());
        last = at;
    }
}

void tst_HttpFetchRequest::getFileByUrl_noHeaders_leavesTheRequestToTheNetworkLayer()
{
    const ScriptedServer server(ScriptedServer::always(Answer));
    QNetworkAccessManager manager;
    QVERIFY(FetchCall().run(manager, server.url("/")));
    const QList<QByteArray> names = HeaderNames(server.requests().constFirst());
    for (const char *name : {"Content-Type", "Cache-Control", "Pragma", "If-Modified-Since"}) {
        QVERIFY2(!names.contains(name), name);
    }
    QVERIFY(names.contains("Host"));
}

void tst_HttpFetchRequest::getFileByUrl_request_asksForNothingOfItsOwn()
{
    const ScriptedServer server(ScriptedServer::always(Answer));
    WatchedManager manager;
    QVERIFY(FetchCall().run(manager, server.url("/")));
    const QNetworkRequest request = manager.request();
    QCOMPARE(request.transferTimeout(), 0);
    QCOMPARE(request.rawHeaderList(), QList<QByteArray>());
    QVERIFY(!request.attribute(QNetworkRequest::Http2AllowedAttribute).toBool());
    QVERIFY(!request.attribute(QNetworkRequest::Http2DirectAttribute).toBool());
    QVERIFY(!request.attribute(QNetworkRequest::HttpPipeliningAllowedAttribute).toBool());
    QVERIFY(!request.attribute(QNetworkRequest::CacheLoadControlAttribute).isValid());
    QVERIFY(!request.attribute(QNetworkRequest::CacheSaveControlAttribute).isValid());
}

void tst_HttpFetchRequest::getFileByUrl_address_isSentEncoded_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("blank") << "/a b" << QByteArray("/a%20b");
    QTest::newRow("Chinese letters")
        << QStringLiteral("/更新") << QByteArray("/%E6%9B%B4%E6%96%B0");
    QTest::newRow("encoded already") << "/a%20b" << QByteArray("/a%20b");
    QTest::newRow("lone percent") << "/%1" << QByteArray("/%251");
    QTest::newRow("fragment stays at home") << "/a#b" << QByteArray("/a");
}

void tst_HttpFetchRequest::getFileByUrl_address_isSentEncoded()
{
    QFETCH(QString, path);
    QFETCH(QByteArray, sent);
    const ScriptedServer server(ScriptedServer::always(Answer));
    QNetworkAccessManager manager;
    QVERIFY(FetchCall().run(manager, server.url(path)));
    const QByteArray request = server.requests().constFirst();
    QCOMPARE(request.left(request.indexOf('\r')), "GET " + sent + " HTTP/1.1");
}

void tst_HttpFetchRequest::getFileByUrl_manager_servesManyCalls()
{
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &request) {
        const bool good = request.startsWith("GET /good");
        connection.send(good ? Answer : ScriptedServer::answer("404 Not Found", ""));
    });
    QNetworkAccessManager manager;
    for (int round = 0; round < 3; ++round) {
        FetchCall good;
        QVERIFY(good.run(manager, server.url("/good")));
        QCOMPARE(good.data, QByteArray("body"));
        FetchCall bad;
        QVERIFY(!bad.run(manager, server.url("/bad")));
        QVERIFY(bad.successOutputsUntouched());
    }
    QCOMPARE(server.requests().size(), 6);
    QCOMPARE(server.connections(), 1); // the caller decides when the manager forgets
}

void tst_HttpFetchRequest::getFileByUrl_freshManagerForEachAttempt_opensOneConnectionEach()
{
    const ScriptedServer server(ScriptedServer::always(Answer)); // keeps connections open
    for (int attempt = 1; attempt <= 3; ++attempt) {
        QNetworkAccessManager manager;
        manager.clearAccessCache();
        QVERIFY(FetchCall().run(manager, server.url("/update.json")));
        QCOMPARE(server.connections(), attempt);
    }
}

QTEST_GUILESS_MAIN(tst_HttpFetchRequest)
#include "tst_httpfetch_request.moc"
