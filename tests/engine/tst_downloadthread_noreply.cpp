// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/engine/EngineFixture.h"
#include "tests/support/ContextTranslator.h"

#include <QNetworkAccessManager>
#include <QtTest>

/// What the worker does when its manager gives no reply object.
class tst_DownloadThreadNoReply : public QObject {
    Q_OBJECT

private slots:
    static void construction_noReplyObject_failsAtOnceWithItsText();
};

// Stands in for the toolkit's function in this program.
QNetworkReply *QNetworkAccessManager::get(const QNetworkRequest &)
{
    return nullptr;
}

void tst_DownloadThreadNoReply::construction_noReplyObject_failsAtOnceWithItsText()
{
    const UpdateFolders folders;
    const ContextTranslator translator;
    CDownloadThread worker(QStringLiteral("http://127.0.0.1:9/"), folders.staging, folders.install,
                           {RecordOf(QStringLiteral("folder/file"), "content"),
                            RecordOf(QStringLiteral("next"), "next")});
    QCOMPARE(worker.errormsg(), QStringLiteral("[CDownloadThread]下载更新文件file失败"));
    QVERIFY(!worker.success());
    QVERIFY(ReadTree(folders.staging).isEmpty());
}

QTEST_GUILESS_MAIN(tst_DownloadThreadNoReply)
#include "tst_downloadthread_noreply.moc"
