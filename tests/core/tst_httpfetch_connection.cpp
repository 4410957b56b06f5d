// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/core/FetchCall.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

/// How GetFileByUrl() treats connections that fail or end early, and how long it waits.
class tst_HttpFetchConnection : public QObject {
    Q_OBJECT

private slots:
    static void getFileByUrl_connectionRefused_failsThroughTheFinishedBranch();
    static void getFileByUrl_addressWithoutServer_failsWithStatus0_data();
    static void getFileByUrl_addressWithoutServer_failsWithStatus0();
    static void getFileByUrl_connectionEndsBeforeTheAnswer_failsWithStatus0_data();
    static void getFileByUrl_connectionEndsBeforeTheAnswer_failsWithStatus0();
    static void getFileByUrl_connectionEndsInTheBodyOf200_givesTheBytesThatArrived_data();
    static void getFileByUrl_connectionEndsInTheBodyOf200_givesTheBytesThatArrived();
    static void getFileByUrl_noLength_readsToTheEndOfTheConnection();
    static void getFileByUrl_reply_isDeletedLaterNotAtOnce_data();
    static void getFileByUrl_reply_isDeletedLaterNotAtOnce();
    static void getFileByUrl_waiting_keepsTimersRunning();
    static void getFileByUrl_insideAnEventLoop_returnsToIt();
};

namespace {

quint16 PortWithoutServer()
{
    return ScriptedServer(ScriptedServer::always({})).port(); // free again at once
}

ScriptedServer::Handler SendAndClose(const QByteArray &bytes)
{
    return [bytes](ScriptedConnection &connection, const QByteArray &) {
        connection.send(bytes);
        connection.close();
    };
}

} // namespace

void tst_HttpFetchConnection::getFileByUrl_connectionRefused_failsThroughTheFinishedBranch()
{
    const QString url = QStringLiteral("http://127.0.0.1:%1/").arg(PortWithoutServer());
    for (const qint32 timeout : {0, 20}) {
        WatchedManager manager;
        FetchCall call;
        call.timeout = timeout;
        QVERIFY(!call.run(manager, url));
        QCOMPARE(manager.reply()->error(), QNetworkReply::ConnectionRefusedError);
        QCOMPARE(call.error, manager.reply()->errorString() + ",status=0");
        QVERIFY(call.successOutputsUntouched());
    }
}

void tst_HttpFetchConnection::getFileByUrl_addressWithoutServer_failsWithStatus0_data()
{
    QTest::addColumn<QString>("url");
    QTest::newRow("empty") << "";
    QTest::newRow("relative") << "update.json";
    QTest::newRow("unknown scheme") << "foo://127.0.0.1/";
    QTest::newRow("local file")
        << QUrl::fromLocalFile(QCoreApplication::applicationFilePath()).toString();
    QTest::newRow("not valid") << "http://127.0.0.1:99999/";
}

void tst_HttpFetchConnection::getFileByUrl_addressWithoutServer_failsWithStatus0()
{
    QFETCH(QString, url);
    WatchedManager manager;
    FetchCall call;
    QVERIFY(!call.run(manager, url));
    QVERIFY(!manager.reply()->errorString().isEmpty());
    QCOMPARE(call.error, manager.reply()->errorString() + ",status=0");
    QVERIFY(call.successOutputsUntouched());
}

void tst_HttpFetchConnection::getFileByUrl_connectionEndsBeforeTheAnswer_failsWithStatus0_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("in the status line") << QByteArray("HTTP/1.1 20");
    QTest::newRow("in the head") << QByteArray("HTTP/1.1 200 OK\r\nContent-Le");
}

void tst_HttpFetchConnection::getFileByUrl_connectionEndsBeforeTheAnswer_failsWithStatus0()
{
    QFETCH(QByteArray, answer);
    const ScriptedServer server(SendAndClose(answer));
    WatchedManager manager;
    FetchCall call;
    QVERIFY(!call.run(manager, server.url("/")));
    QCOMPARE(call.error, manager.reply()->errorString() + ",status=0");
    QVERIFY(call.successOutputsUntouched());
}

void tst_HttpFetchConnection::
    getFileByUrl_connectionEndsInTheBodyOf200_givesTheBytesThatArrived_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("length promised")
        << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf");
    QTest::newRow("chunks promised")
        << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n");
}

// The status alone decides, on purpose: whoever needs the whole body checks its size or digest.
void tst_HttpFetchConnection::getFileByUrl_connectionEndsInTheBodyOf200_givesTheBytesThatArrived()
{
    QFETCH(QByteArray, answer);
    const ScriptedServer server(SendAndClose(answer));
    QNetworkAccessManager manager;
    FetchCall call;
    QVERIFY(call.run(manager, server.url("/")));
    QCOMPARE(call.data, QByteArray("half"));
    QCOMPARE(call.error, FetchCall().error);
}

void tst_HttpFetchConnection::getFileByUrl_noLength_readsToTheEndOfTheConnection()
{
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &) {
        connection.send("HTTP/1.1 200 OK\r\n\r\nfirst ");
        connection.pause(50);
        connection.send("second");
        connection.close();
    });
    QNetworkAccessManager manager;
    FetchCall call;
    QVERIFY(call.run(manager, server.url("/")));
    QCOMPARE(call.data, QByteArray("first second"));
}

void tst_HttpFetchConnection::getFileByUrl_reply_isDeletedLaterNotAtOnce_data()
{
    QTest::addColumn<QByteArray>("status");
    QTest::newRow("success") << QByteArray("200 OK");
    QTest::newRow("failure") << QByteArray("404 Not Found");
}

void tst_HttpFetchConnection::getFileByUrl_reply_isDeletedLaterNotAtOnce()
{
    QFETCH(QByteArray, status);
    const ScriptedServer server(ScriptedServer::always(ScriptedServer::answer(status, "body")));
    WatchedManager manager;
    (void)FetchCall().run(manager, server.url("/"));
    QVERIFY(manager.reply());
    QVERIFY(manager.reply()->isFinished());
    QVERIFY(manager.reply()->error() != QNetworkReply::OperationCanceledError);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!manager.reply());
    QVERIFY(manager.findChildren<QNetworkReply *>().isEmpty());
}

void tst_HttpFetchConnection::getFileByUrl_waiting_keepsTimersRunning()
{
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &) {
        connection.pause(300);
        connection.send(ScriptedServer::answer("200 OK", ""));
    });
    QNetworkAccessManager manager;
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&ticks] { ++ticks; });
    timer.start(10);
    QVERIFY(FetchCall().run(manager, server.url("/")));
    QVERIFY2(ticks >= 5, qPrintable(QString::number(ticks)));
}

void tst_HttpFetchConnection::getFileByUrl_insideAnEventLoop_returnsToIt()
{
    const ScriptedServer server(ScriptedServer::always(ScriptedServer::answer("200 OK", "body")));
    WatchedManager manager;
    FetchCall call;
    bool result = false;
    QEventLoop outer;
    QTimer::singleShot(0, &outer, [&] {
        result = call.run(manager, server.url("/"));
        QTimer::singleShot(0, &outer, &QEventLoop::quit);
    });
    outer.exec();
    QVERIFY(result);
    QCOMPARE(call.data, QByteArray("body"));
    QTRY_VERIFY(!manager.reply());
}

QTEST_GUILESS_MAIN(tst_HttpFetchConnection)
#include "tst_httpfetch_connection.moc"
