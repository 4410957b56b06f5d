// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/core/FetchCall.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

#include <atomic>
#include <memory>

/// What becomes of a reply that GetFileByUrl() stopped waiting for.
class tst_HttpFetchLate : public QObject {
    Q_OBJECT

private slots:
    static void getFileByUrl_timedOut_leavesTheReplyRunningUntilItIsDeleted();
    static void getFileByUrl_answerAfterTheTimeout_changesNothing();
    static void getFileByUrl_managerGoneAfterTheTimeout_takesTheReplyAlong();
    static void getFileByUrl_secondCallAfterATimeout_works();
};

namespace {

const QByteArray Answer = ScriptedServer::answer("200 OK", "body");

void Hang(ScriptedConnection &connection, const QByteArray &)
{
    connection.hang();
}

/// Answers only once \a gate is set.
ScriptedServer::Handler AnswerBehind(const std::atomic<bool> &gate)
{
    return [&gate](ScriptedConnection &connection, const QByteArray &) {
        for (int wait = 0; wait < 1000 && !gate; ++wait) {
            connection.pause(10);
        }
        connection.send(Answer);
    };
}

FetchCall ShortCall()
{
    FetchCall call;
    call.timeout = 1;
    return call;
}

void DeleteDeferred()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

} // namespace

void tst_HttpFetchLate::getFileByUrl_timedOut_leavesTheReplyRunningUntilItIsDeleted()
{
    const ScriptedServer server(Hang);
    WatchedManager manager;
    FetchCall call = ShortCall();
    QVERIFY(!call.run(manager, server.url("/")));
    QVERIFY(manager.reply());
    QVERIFY(manager.reply()->isRunning());
    QCOMPARE(manager.reply()->error(), QNetworkReply::NoError); // an aborted reply would say so
    DeleteDeferred();
    QVERIFY(!manager.reply());
}

void tst_HttpFetchLate::getFileByUrl_answerAfterTheTimeout_changesNothing()
{
    std::atomic<bool> timedOut{false};
    const ScriptedServer server(AnswerBehind(timedOut));
    WatchedManager manager;
    FetchCall call = ShortCall();
    QVERIFY(!call.run(manager, server.url("/")));
    QSignalSpy finished(manager.reply(), &QNetworkReply::finished);
    timedOut = true;
    // Without its own event loop around it, the deletion waits and the answer comes first.
    QElapsedTimer timer;
    timer.start();
    while (finished.isEmpty() && timer.elapsed() < 5000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    }
    QCOMPARE(finished.size(), 1);
    QCOMPARE(call.error, QStringLiteral("网络超时,status=0"));
    QVERIFY(call.successOutputsUntouched());
    DeleteDeferred();
    QVERIFY(!manager.reply());
}

void tst_HttpFetchLate::getFileByUrl_managerGoneAfterTheTimeout_takesTheReplyAlong()
{
    std::atomic<bool> timedOut{false};
    const ScriptedServer server(AnswerBehind(timedOut));
    auto manager = std::make_unique<WatchedManager>();
    FetchCall call = ShortCall();
    QVERIFY(!call.run(*manager, server.url("/")));
    const QPointer<QNetworkReply> reply = manager->reply();
    manager.reset();
    QVERIFY(!reply);
    timedOut = true;
    QTest::qWait(50); // gives a late response the chance to do harm
    QVERIFY(call.successOutputsUntouched());
}

void tst_HttpFetchLate::getFileByUrl_secondCallAfterATimeout_works()
{
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &request) {
        if (request.startsWith("GET /slow")) {
            connection.hang();
        } else {
            connection.send(Answer);
        }
    });
    QNetworkAccessManager manager;
    QVERIFY(!ShortCall().run(manager, server.url("/slow")));
    FetchCall call;
    QVERIFY(call.run(manager, server.url("/quick")));
    QCOMPARE(call.data, QByteArray("body"));
}

QTEST_GUILESS_MAIN(tst_HttpFetchLate)
#include "tst_httpfetch_late.moc"
