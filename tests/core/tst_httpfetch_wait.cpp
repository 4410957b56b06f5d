// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/core/FetchCall.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

#include <dlfcn.h>

namespace {

QList<QEventLoop::ProcessEventsFlags> Waits;

} // namespace

// Replaces the toolkit's function in this program, and passes the call on to it.
int QEventLoop::exec(ProcessEventsFlags flags)
{
    if (thread() == QCoreApplication::instance()->thread()) {
        Waits.append(flags);
    }
    using Exec = int (*)(QEventLoop *, ProcessEventsFlags);
    static const auto next = reinterpret_cast<Exec>(
        ::dlsym(RTLD_NEXT, "_ZN10QEventLoop4execE6QFlagsINS_17ProcessEventsFlagEE"));
    return next(this, flags);
}

/// How GetFileByUrl() waits. A separate test, because it replaces a function of the toolkit.
class tst_HttpFetchWait : public QObject {
    Q_OBJECT

private slots:
    static void getFileByUrl_waiting_leavesNoEventsOut();
};

void tst_HttpFetchWait::getFileByUrl_waiting_leavesNoEventsOut()
{
    const ScriptedServer server(ScriptedServer::always(ScriptedServer::answer("200 OK", "body")));
    QNetworkAccessManager manager;
    FetchCall call;
    QVERIFY(call.run(manager, server.url("/")));
    QCOMPARE(call.data, QByteArray("body"));
    QCOMPARE(Waits.size(), 1);
    QCOMPARE(Waits.first(), QEventLoop::ProcessEventsFlags(QEventLoop::AllEvents));
}

QTEST_GUILESS_MAIN(tst_HttpFetchWait)
#include "tst_httpfetch_wait.moc"
