// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/core/FetchCall.h"
#include "tests/support/ContextTranslator.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

#include <limits>

/// When GetFileByUrl() stops waiting, and what it returns then.
class tst_HttpFetchTimeout : public QObject {
    Q_OBJECT

private slots:
    static void getFileByUrl_noAnswer_failsWithTheTimeoutTextAndStatus0();
    static void getFileByUrl_otherStatusWithoutEnd_failsWithTheTimeoutTextAndStatus();
    static void getFileByUrl_status200WithoutEnd_givesTheBytesSoFar();
    static void getFileByUrl_answerInTime_isNotCutShort();
    static void getFileByUrl_noTimeout_waitsForTheAnswer_data();
    static void getFileByUrl_noTimeout_waitsForTheAnswer();
    static void getFileByUrl_hugeTimeout_doesNotWrapRound();
};

namespace {

const QByteArray Answer = ScriptedServer::answer("200 OK", "body");

void Hang(ScriptedConnection &connection, const QByteArray &)
{
    connection.hang();
}

FetchCall CallWithTimeout(qint32 seconds)
{
    FetchCall call;
    call.timeout = seconds;
    return call;
}

} // namespace

void tst_HttpFetchTimeout::getFileByUrl_noAnswer_failsWithTheTimeoutTextAndStatus0()
{
    const ScriptedServer server(Hang);
    const ContextTranslator translator;
    QNetworkAccessManager manager;
    FetchCall call = CallWithTimeout(1);
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!call.run(manager, server.url("/")));
    const qint64 waited = timer.elapsed();
    QVERIFY2(waited >= 990 && waited < 3000, qPrintable(QString::number(waited)));
    QCOMPARE(call.error, QStringLiteral("[QObject]网络超时,status=0"));
    QVERIFY(call.successOutputsUntouched());
}

void tst_HttpFetchTimeout::getFileByUrl_otherStatusWithoutEnd_failsWithTheTimeoutTextAndStatus()
{
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &) {
        connection.send("HTTP/1.1 404 Not Found\r\nContent-Length: 9\r\n\r\nhalf");
        connection.hang();
    });
    QNetworkAccessManager manager;
    FetchCall call = CallWithTimeout(1);
    QVERIFY(!call.run(manager, server.url("/")));
    QCOMPARE(call.error, QStringLiteral("网络超时,status=404"));
    QVERIFY(call.successOutputsUntouched());
}

// The status alone decides, on purpose, even when the time ran out in the middle of the body.
void tst_HttpFetchTimeout::getFileByUrl_status200WithoutEnd_givesTheBytesSoFar()
{
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 9\r\nX-Other: 1\r\n\r\nhalf");
        connection.hang();
    });
    WatchedManager manager;
    FetchCall call = CallWithTimeout(1);
    QVERIFY(call.run(manager, server.url("/")));
    QVERIFY(!manager.reply()->isFinished());
    QCOMPARE(call.data, QByteArray("half"));
    QCOMPARE(call.error, FetchCall().error);
    QCOMPARE(call.responseHeaders.value("X-Other"), QByteArray("1"));
}

void tst_HttpFetchTimeout::getFileByUrl_answerInTime_isNotCutShort()
{
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &) {
        connection.pause(100); // the time-out is 20 seconds, not milliseconds
        connection.send(Answer);
    });
    QNetworkAccessManager manager;
    FetchCall call = CallWithTimeout(20);
    QVERIFY(call.run(manager, server.url("/")));
    QCOMPARE(call.data, QByteArray("body"));
}

void tst_HttpFetchTimeout::getFileByUrl_noTimeout_waitsForTheAnswer_data()
{
    QTest::addColumn<qint32>("timeout");
    QTest::newRow("zero") << 0;
    QTest::newRow("negative") << -1;
    QTest::newRow("lowest") << std::numeric_limits<qint32>::min();
}

void tst_HttpFetchTimeout::getFileByUrl_noTimeout_waitsForTheAnswer()
{
    QFETCH(qint32, timeout);
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &) {
        connection.pause(100);
        connection.send(Answer);
    });
    QNetworkAccessManager manager;
    FetchCall call = CallWithTimeout(timeout);
    QVERIFY(call.run(manager, server.url("/")));
    QCOMPARE(call.data, QByteArray("body"));
}

void tst_HttpFetchTimeout::getFileByUrl_hugeTimeout_doesNotWrapRound()
{
    constexpr qint32 timeout = 536870912; // in milliseconds, its lowest 32 bits are 0
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &) {
        connection.pause(100);
        connection.send(Answer);
    });
    QNetworkAccessManager manager;
    FetchCall call = CallWithTimeout(timeout);
    QVERIFY2(call.run(manager, server.url("/")), qPrintable(call.error));
}

QTEST_GUILESS_MAIN(tst_HttpFetchTimeout)
#include "tst_httpfetch_timeout.moc"
