// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Release.h"
#include "inplace/WatchedManager.h"
#include "tests/inplace/InplaceFixture.h"

#include <QtTest>

class tst_InplaceRelease : public QObject {
    Q_OBJECT

private slots:
    void fetchRelease_published_isRead();
    void fetchRelease_unsafePath_isRefused_data();
    void fetchRelease_unsafePath_isRefused();
    void fetchRelease_badDescription_isRefused_data();
    void fetchRelease_badDescription_isRefused();
    void fetchRelease_badManifest_isRefused_data();
    void fetchRelease_badManifest_isRefused();
    void watchedManager_timeRunsOutInTheBody_isAProblem();
    void fetchRelease_body_isNotUnpacked();
    void fetchRelease_fileSize_hasALimit_data();
    void fetchRelease_fileSize_hasALimit();
};

namespace {

const QByteArray Md5(32, '0');

QByteArray Line(const QByteArray &path)
{
    return Md5 + "\t1\t" + path + '\n';
}

} // namespace

void tst_InplaceRelease::fetchRelease_published_isRead()
{
    const FileMap files{{QStringLiteral("a b/文件"), "content"}, {QStringLiteral("c"), ""}};
    const ScriptedServer server(ServeFiles(Published(files)));
    Release release;
    QCOMPARE(FetchRelease(server.url(QString()), release), QString());
    QCOMPARE(release.filesUrl, server.url(QStringLiteral("/release/")));
    QCOMPARE(release.manifest, ManifestOf(files));
    QCOMPARE(release.files.keys(), files.keys());
}

void tst_InplaceRelease::fetchRelease_unsafePath_isRefused_data()
{
    QTest::addColumn<QByteArray>("manifest");
    const auto row = [](const char *rule, const QByteArray &manifest) {
        QTest::newRow(rule) << Line("good") + manifest;
    };
    row("empty", Line(""));
    row("a separator alone", Line("/"));
    row("absolute", Line("//etc/passwd"));
    row("current folder", Line("a/./b"));
    row("parent folder", Line("../b"));
    row("parent folder by backslash", Line(R"(a\..\..\b)"));
    row("parent folder at the end", Line("a/.."));
    row("empty component", Line("a//b"));
    row("a folder's name", Line("a/"));
    row("question mark", Line("a?b"));
    row("file and folder", Line("a") + Line("a/b"));
    row("file and folder, listed the other way round", Line("a/b/c") + Line("a/b"));
    row("beside its old copy", Line("a") + Line("a.old"));
    row("a folder beside an old copy", Line("a") + Line("a.old/b"));
    row("the manifest itself", Line("update_md5.info"));
    row("the manifest itself in capitals", Line("UPDATE_MD5.INFO"));
    row("names that differ in letter case only", Line("a") + Line("A"));
    row("names that differ in normalisation only", Line("\xC3\xA9") + Line("e\xCC\x81"));
}

void tst_InplaceRelease::fetchRelease_unsafePath_isRefused()
{
    QFETCH(QByteArray, manifest);
    FileMap served = Published({});
    served.insert(QStringLiteral("release/update_md5.info"), manifest);
    const ScriptedServer server(ServeFiles(served));
    Release release;
    const QString reason = FetchRelease(server.url(QString()), release);
    QVERIFY2(reason.startsWith(QStringLiteral("升级清单中的路径不安全:")), qPrintable(reason));
    QCOMPARE(server.requests().size(), 2);
}

void tst_InplaceRelease::fetchRelease_badDescription_isRefused_data()
{
    QTest::addColumn<QByteArray>("description");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no JSON") << QByteArray("<html>");
    QTest::newRow("an array") << QByteArray("[]");
    QTest::newRow("no folder") << QByteArray(R"({"Version":1})");
    QTest::newRow("empty folder") << QByteArray(R"({"Folder":""})");
    QTest::newRow("a number") << QByteArray(R"({"Folder":3})");
    QTest::newRow("parent folder") << QByteArray(R"({"Folder":".."})");
    QTest::newRow("a path") << QByteArray(R"({"Folder":"a/b"})");
    QTest::newRow("lost in addresses") << QByteArray(R"({"Folder":".x"})");
    QTest::newRow("a query") << QByteArray(R"({"Folder":"a?b"})");
}

void tst_InplaceRelease::fetchRelease_badDescription_isRefused()
{
    QFETCH(QByteArray, description);
    const ScriptedServer server(ServeFiles({{QStringLiteral("update.json"), description}}));
    Release release;
    QCOMPARE(FetchRelease(server.url(QString()), release),
             QStringLiteral("升级描述文件内容不合法:") + QString::fromUtf8(description));
    QCOMPARE(server.requests().size(), 1);
}

void tst_InplaceRelease::fetchRelease_badManifest_isRefused_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("reason");
    QTest::newRow("missing") << ScriptedServer::answer("404 Not Found", "x") << "下载升级清单失败:";
    QTest::newRow("redirected") << ScriptedServer::answer("302 Found", "x", "Location: /other\r\n")
                                << "下载升级清单失败:";
    QTest::newRow("broken off after a whole line")
        << ScriptedServer::answer("200 OK", Line("a") + Line("b")).chopped(Line("b").size())
        << "下载升级清单失败:内容不完整";
    QTest::newRow("empty") << ScriptedServer::answer("200 OK", "") << "升级清单中没有文件";
    QTest::newRow("no manifest") << ScriptedServer::answer("200 OK", "<html>\n</html>\n")
                                 << "升级清单中没有文件";
}

void tst_InplaceRelease::fetchRelease_badManifest_isRefused()
{
    QFETCH(QByteArray, answer);
    QFETCH(QString, reason);
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &request) {
        const bool manifest = RequestedPath(request).endsWith(QStringLiteral(".info"));
        connection.send(manifest ? answer
                                 : ScriptedServer::answer("200 OK", R"({"Folder":"release"})"));
        connection.close();
    });
    Release release;
    const QString said = FetchRelease(server.url(QString()), release);
    QVERIFY2(said.startsWith(reason), qPrintable(said));
}

void tst_InplaceRelease::watchedManager_timeRunsOutInTheBody_isAProblem()
{
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &) {
        connection.send(ScriptedServer::answer("200 OK", Line("a") + Line("b")).chopped(1));
        connection.hang();
    });
    WatchedManager manager(1000);
    QByteArray body;
    QString error;
    QVERIFY(GetFileByUrl(manager, QUrl(server.url(QStringLiteral("/"))), body, error, 1, {}, "GET",
                         {}, nullptr));
    QVERIFY(body.startsWith(Line("a")));
    QCOMPARE(manager.problem(), QStringLiteral("内容不完整"));
}

void tst_InplaceRelease::fetchRelease_body_isNotUnpacked()
{
    const ScriptedServer server(ServeFiles(Published({{QStringLiteral("a"), "a"}})));
    Release release;
    QCOMPARE(FetchRelease(server.url(QString()), release), QString());
    for (const QByteArray &request : server.requests()) {
        QVERIFY(request.contains("Accept-Encoding: identity\r\n"));
    }
}

void tst_InplaceRelease::fetchRelease_fileSize_hasALimit_data()
{
    QTest::addColumn<QByteArray>("size");
    QTest::addColumn<bool>("taken");
    QTest::newRow("largest") << QByteArray("7fffffbf") << true;
    QTest::newRow("one byte more") << QByteArray("7fffffc0") << false;
    QTest::newRow("3 GiB") << QByteArray("c0000000") << false;
    QTest::newRow("half of all there are") << QByteArray("8000000000000000") << false;
}

void tst_InplaceRelease::fetchRelease_fileSize_hasALimit()
{
    QFETCH(QByteArray, size);
    QFETCH(bool, taken);
    FileMap served = Published({});
    served.insert(QStringLiteral("release/update_md5.info"),
                  Line("a") + Md5 + '\t' + size + "\tb\n");
    const ScriptedServer server(ServeFiles(served));
    Release release;
    const QString reason = FetchRelease(server.url(QString()), release);
    QCOMPARE(reason, taken ? QString()
                           : QStringLiteral("升级清单中的文件过大:\"b\" (%1字节)")
                                 .arg(size.toULongLong(nullptr, 16)));
}

QTEST_GUILESS_MAIN(tst_InplaceRelease)
#include "tst_inplace_release.moc"
