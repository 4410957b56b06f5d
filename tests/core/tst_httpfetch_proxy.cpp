// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/core/FetchCall.h"
#include "tests/support/ScriptedServer.h"

#include <QNetworkProxy>
#include <QtTest>

/// GetFileByUrl() goes through the system's proxy when the program asked for the system's settings.
class tst_HttpFetchProxy : public QObject {
    Q_OBJECT

private slots:
    static void getFileByUrl_systemProxy_isAskedForTheWholeAddress();
    static void getFileByUrl_systemProxyRefuses_failsWithItsStatus();
};

namespace {

/// Makes \a proxy the system's, for this process. Every test has a proxy with its own port.
void UseAsSystemProxy(const ScriptedServer &proxy)
{
    qputenv("http_proxy", proxy.url("/").toUtf8());
    QNetworkProxyFactory::setUseSystemConfiguration(true);
}

} // namespace

void tst_HttpFetchProxy::getFileByUrl_systemProxy_isAskedForTheWholeAddress()
{
    const ScriptedServer proxy(
        ScriptedServer::always(ScriptedServer::answer("200 OK", "through the proxy")));
    UseAsSystemProxy(proxy);
    QNetworkAccessManager manager;
    FetchCall call;
    QVERIFY2(call.run(manager, QUrl("http://updates.invalid/update.json")), qPrintable(call.error));
    QCOMPARE(call.data, QByteArray("through the proxy"));
    QCOMPARE(proxy.requests().size(), 1);
    QVERIFY(proxy.requests().constFirst().startsWith(
        "GET http://updates.invalid/update.json HTTP/1.1\r\n"));
}

void tst_HttpFetchProxy::getFileByUrl_systemProxyRefuses_failsWithItsStatus()
{
    const ScriptedServer proxy(
        ScriptedServer::always(ScriptedServer::answer("502 Bad Gateway", "")));
    UseAsSystemProxy(proxy);
    QNetworkAccessManager manager;
    FetchCall call;
    QVERIFY(!call.run(manager, QUrl("http://updates.invalid/update.json")));
    QVERIFY2(call.error.endsWith(",status=502"), qPrintable(call.error));
    QCOMPARE(proxy.requests().size(), 1);
}

QTEST_GUILESS_MAIN(tst_HttpFetchProxy)
#include "tst_httpfetch_proxy.moc"
