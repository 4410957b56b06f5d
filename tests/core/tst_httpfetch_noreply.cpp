// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/core/FetchCall.h"
#include "tests/support/ContextTranslator.h"

#include <QtTest>

/// What GetFileByUrl() does when the manager gives no reply object.
class tst_HttpFetchNoReply : public QObject {
    Q_OBJECT

private slots:
    static void getFileByUrl_noReplyObject_failsAtOnceWithItsText();
};

// Replaces the toolkit's function in this program. A manager whose createRequest() gives no reply
// would not do: the toolkit's own function would use the null pointer.
QNetworkReply *QNetworkAccessManager::sendCustomRequest(const QNetworkRequest &, const QByteArray &,
                                                        const QByteArray &)
{
    return nullptr;
}

void tst_HttpFetchNoReply::getFileByUrl_noReplyObject_failsAtOnceWithItsText()
{
    const ContextTranslator translator;
    QNetworkAccessManager manager;
    FetchCall call;
    call.timeout = 0;
    QVERIFY(!call.run(manager, QUrl("http://127.0.0.1/")));
    QCOMPARE(call.error, QStringLiteral("[QObject]发送请求失败"));
    QVERIFY(call.successOutputsUntouched());
}

QTEST_GUILESS_MAIN(tst_HttpFetchNoReply)
#include "tst_httpfetch_noreply.moc"
