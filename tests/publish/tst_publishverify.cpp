// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"
#include "publish/Verify.h"
#include "tests/publish/PublishTool.h"
#include "tests/support/FaultyAnswers.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/SigningKey.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>

using Pages = QMap<QByteArray, QByteArray>;

/// publish_update --verify against a server with a published release, intact or not.
class tst_PublishVerify : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void verify_publishedRelease_isAllRight_data();
    void verify_publishedRelease_isAllRight();
    void verify_fault_isReported_data();
    void verify_fault_isReported();
    void verify_control_isReplacedInMessages();
    void verify_connectionDropped_isReported();
    void verify_noAnswer_timesOut_data();
    void verify_noAnswer_timesOut();
    void verify_bodies_areHeldWithinABudget_data();
    void verify_bodies_areHeldWithinABudget();
    static void verify_noServer_isReported();
    void verify_manyFiles_areAllAskedFor();
    void verify_manifestBrokenOff_isRefused_data();
    void verify_manifestBrokenOff_isRefused();
    void verify_oldRelease_isVerifiedAsEver();
    void verify_key_demandsASignature_data();
    void verify_key_demandsASignature();
    void verify_folder_isAllRight();
    void verify_folder_fault_isReported_data();
    void verify_folder_fault_isReported();
    void verify_folder_extraFile_isWarnedOf();
    void verify_json_saysTheSame();

private:
    QTemporaryDir m_folder;
    Pages m_pages; ///< whole answers, by encoded path
};

namespace {

const QByteArray Base = "/pub";
const QByteArray Release = Base + "/3.10.25";
const QByteArray Manifest = Release + "/update_md5.info";
const QByteArray Description = Base + "/update.json";
const QByteArray Host = Release + "/Contents/Host";

QByteArray Page(const QByteArray &body)
{
    return ScriptedServer::answer("200 OK", body);
}

ScriptedServer::Handler Serve(const Pages &pages)
{
    return [pages](ScriptedConnection &connection, const QByteArray &request) {
        connection.send(
            pages.value(request.split(' ').value(1), ScriptedServer::answer("404 Not Found", "")));
    };
}

QByteArray Sha256(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
}

/// The manifest of the verified release.
QByteArray ReleaseManifest()
{
    return HeadLines() + FileLines("Contents/Host", "host") + FileLines("Contents/empty", "") +
           FileLines("资源/a b+c.txt", "text");
}

ToolRun RunVerify(const ScriptedServer &server, const QString &end = QString())
{
    return RunPublish({"--verify", server.url(QString::fromUtf8(Base)) + end});
}

} // namespace

void tst_PublishVerify::initTestCase()
{
    const QString release = m_folder.filePath("release");
    WriteFile(release + "/Contents/Host", "host");
    WriteFile(release + "/Contents/empty", "");
    WriteFile(release + QStringLiteral("/资源/a b+c.txt"), "text");
    const QString output = m_folder.filePath("output");
    QCOMPARE(RunPublish(PublishArguments(release, output)).exitCode, 0);
    const QMap<QString, QByteArray> tree = FilesBelow(output);
    for (auto file = tree.cbegin(); file != tree.cend(); ++file) {
        const QUrl url("http://h" + Base + "/" + file.key());
        m_pages.insert(url.toEncoded().mid(8), Page(file.value()));
    }
    QVERIFY(m_pages.contains(Release + "/%E8%B5%84%E6%BA%90/a%20b+c.txt"));
    QCOMPARE(m_pages.value(Manifest), Page(ReleaseManifest()));
}

void tst_PublishVerify::verify_publishedRelease_isAllRight_data()
{
    QTest::addColumn<QString>("end");
    QTest::newRow("base URL without a separator at its end") << "";
    QTest::newRow("with one") << "/";
    QTest::newRow("with two") << "//";
}

void tst_PublishVerify::verify_publishedRelease_isAllRight()
{
    QFETCH(QString, end);
    const ScriptedServer server(Serve(m_pages));
    const ToolRun run = RunVerify(server, end);
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.output,
             QByteArray("All right: version 3.10.25 (3100025) in \"3.10.25\", 3 files.\n"));
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(server.requests().size(), 5);
}

void tst_PublishVerify::verify_fault_isReported_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QByteArray>("report");
    const QByteArray missing = ScriptedServer::answer("404 Not Found", "");
    const QByteArray isMissing = "it is missing (status 404).";
    const auto redirect = [](const QByteArray &status) {
        return ScriptedServer::answer(status, "", "Location: /pub/elsewhere\r\n");
    };
    const QByteArray redirected = "it is redirected, which no updater follows (status 302).";
    const QByteArray error500 = ScriptedServer::answer("500 Internal Server Error", "");
    const QByteArray md5 = Md5Hash("host");

    QTest::newRow("description missing")
        << Description << missing << QByteArray("update.json: " + isMissing);
    QTest::newRow("description redirected")
        << Description << redirect("302 Found") << QByteArray("update.json: " + redirected);
    QTest::newRow("description not JSON")
        << Description << Page("<html>")
        << QByteArray("update.json: it is not JSON: illegal value.");
    QTest::newRow("description without a usable folder")
        << Description
        << Page(R"({"Version":1,"VersionString":"","Folder":"/a","MinVersion":0,)"
                R"("DownloadUrl":"https://h/"})")
        << QByteArray("update.json: Folder: it is absolute.");
    QTest::newRow("description with a wrong type")
        << Description
        << Page(R"({"Version":3100025,"VersionString":1,"Folder":"3.10.25","MinVersion":0,)"
                R"("DownloadUrl":"https://h/"})")
        << QByteArray("update.json: VersionString is not a text.");
    QTest::newRow("description of another version")
        << Description
        << Page(R"({"Version":3100026,"VersionString":"","Folder":"3.10.25","MinVersion":0,)"
                R"("DownloadUrl":"https://h/"})")
        << QByteArray("update.json: it names version 3100026 in \"3.10.25\", but the manifest has "
                      "version 3100025 in \"3.10.25\".");
    QTest::newRow("manifest of another folder")
        << Manifest << Page(QByteArray(ReleaseManifest()).replace("\t3.10.25\t", "\t3.10.24\t"))
        << QByteArray("but the manifest has version 3100025 in \"3.10.24\".");

    QTest::newRow("manifest missing")
        << Manifest << missing << QByteArray("3.10.25/update_md5.info: " + isMissing);
    QTest::newRow("manifest redirected") << Manifest << redirect("302 Found")
                                         << QByteArray("3.10.25/update_md5.info: " + redirected);
    QTest::newRow("manifest empty")
        << Manifest << Page("")
        << QByteArray("3.10.25/update_md5.info: line 1: the manifest lists no file.");
    QTest::newRow("manifest with a line of two fields")
        << Manifest << Page(md5 + "\t4\tContents/Host\n" + md5 + "\tContents/Host\n")
        << QByteArray("3.10.25/update_md5.info: line 2: it does not have three fields.");
    QTest::newRow("manifest with an unsafe path, which is not asked for")
        << Manifest << Page(md5 + "\t4\t../update.json\n")
        << QByteArray(R"(3.10.25/update_md5.info: path "../update.json": it has a ".." )"
                      "component.");
    QTest::newRow("manifest with a file too large, which is not asked for")
        << Manifest << Page(md5 + "\t7fffffc0\tother\n" + md5 + "\t4\tContents/Host\n")
        << QByteArray("3.10.25/update_md5.info: path \"other\": files of almost 2 GiB "
                      "(2,147,483,584 bytes) and more cannot be updated.");
    QTest::newRow("manifest lists a file that is not there")
        << Manifest << Page(md5 + "\t4\tother\n") << QByteArray("other: " + isMissing);

    const QByteArray file = "Contents/Host: ";
    QTest::newRow("file missing") << Host << missing << QByteArray(file + isMissing);
    for (const char *status : {"301 Moved Permanently", "302 Found", "303 See Other",
                               "307 Temporary Redirect", "308 Permanent Redirect"}) {
        QTest::newRow(status) << Host << redirect(status)
                              << QByteArray(file +
                                            "it is redirected, which no updater follows (status " +
                                            QByteArray(status, 3) + ").");
    }
    QTest::newRow("file of a broken server")
        << Host << error500 << QByteArray(file + "it cannot be fetched: ");
    QTest::newRow("file not modified")
        << Host << ScriptedServer::answer("304 Not Modified", "")
        << QByteArray(file + "it cannot be fetched: Unknown error,status=304.");
    QTest::newRow("part of a file") << Host << ScriptedServer::answer("206 Partial Content", "host")
                                    << QByteArray("Unknown error,status=206.");
    QTest::newRow("file shorter") << Host << Page("hos")
                                  << QByteArray(file + "it has 3 bytes instead of 4.");
    QTest::newRow("file longer") << Host << Page("hosts")
                                 << QByteArray(file + "it is too long: more than 4 bytes.");
    QTest::newRow("file of another content")
        << Host << Page("HOST")
        << QByteArray(file + "its MD5 text is " + Md5Hash("HOST") + " instead of " + md5 + ".");
    QTest::newRow("file of another SHA-256")
        << Manifest << Page(QByteArray(ReleaseManifest()).replace(Sha256("host"), Sha256("HOST")))
        << QByteArray(file + "its SHA-256 is " + Sha256("host") + " instead of " + Sha256("HOST"));
    const QByteArray gzip = GzipAnswer("host").bytes;
    QTest::newRow("file compressed anyway")
        << Host << gzip << QByteArray(file + "it is too long: more than 4 bytes.");
    QTest::newRow("manifest compressed anyway")
        << Manifest << GzipAnswer(ReleaseManifest()).bytes
        << QByteArray(
               "3.10.25/update_md5.info: it is sent compressed (gzip), although that was not "
               "asked for.");
}

void tst_PublishVerify::verify_fault_isReported()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, answer);
    QFETCH(QByteArray, report);
    Pages pages = m_pages;
    QVERIFY(pages.contains(path));
    pages.insert(path, answer);
    pages.insert("/pub/elsewhere", m_pages.value(path)); // not to be asked for
    const ScriptedServer server(Serve(pages));
    const ToolRun run = RunVerify(server);
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.output, QByteArray());
    QVERIFY2(run.errors.startsWith("publish_update: "), run.errors.constData());
    QCOMPARE(run.errors.count('\n'), 1);
    QVERIFY2(run.errors.contains(report), run.errors.constData());
    const QList<QByteArray> requests = server.requests();
    for (const QByteArray &request : requests) {
        QVERIFY(!request.contains("elsewhere") && !request.contains(".."));
    }
}

void tst_PublishVerify::verify_control_isReplacedInMessages()
{
    Pages pages = m_pages;
    pages.insert(Manifest, Page(Md5Hash("host") + "\t4\t\x1B[31m\xC2\x9B\x7F\n"));
    const ScriptedServer server(Serve(pages));
    const ToolRun run = RunVerify(server);
    QCOMPARE(run.exitCode, 1);
    const QString replaced(QChar::ReplacementCharacter);
    QCOMPARE(QString::fromUtf8(run.errors), "publish_update: " + replaced + "[31m" + replaced +
                                                replaced + ": it is missing (status 404).\n");
}

void tst_PublishVerify::verify_noAnswer_timesOut_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<int>("descriptionSeconds");
    QTest::addColumn<int>("fileSeconds");
    QTest::newRow("description") << Description << 1 << 60;
    QTest::newRow("manifest") << Manifest << 60 << 1;
    QTest::newRow("file") << Host << 60 << 1;
}

void tst_PublishVerify::verify_noAnswer_timesOut()
{
    QFETCH(QByteArray, path);
    QFETCH(int, descriptionSeconds);
    QFETCH(int, fileSeconds);
    const Pages pages = m_pages;
    const ScriptedServer server(
        [pages, path](ScriptedConnection &connection, const QByteArray &request) {
            if (request.startsWith("GET " + path + ' ')) {
                connection.hang();
            }
            connection.send(pages.value(request.split(' ').value(1)));
        });
    QElapsedTimer timer;
    timer.start();
    Report report;
    const VerifyOptions options{
        server.url(QString::fromUtf8(Base)), {}, {}, false, {descriptionSeconds, fileSeconds}};
    QCOMPARE(Verify(options, report), 1);
    QVERIFY(timer.elapsed() >= 1000);
    QVERIFY(timer.elapsed() < 10000); // less than by default
}

void tst_PublishVerify::verify_bodies_areHeldWithinABudget_data()
{
    QTest::addColumn<QByteArray>("size");
    QTest::addColumn<int>("atOnce");
    QTest::newRow("small ones") << QByteArray("1") << 4;
    QTest::newRow("two fit") << QByteArray("2000000") << 2;
    QTest::newRow("one fits") << QByteArray("2000001") << 1;
    QTest::newRow("not even one fits") << QByteArray("7fffffbf") << 1;
}

void tst_PublishVerify::verify_bodies_areHeldWithinABudget()
{
    QFETCH(QByteArray, size);
    QFETCH(int, atOnce);
    Pages pages = m_pages;
    QByteArray manifest;
    for (const char *name : {"a", "b", "c", "d"}) {
        manifest += Md5Hash("x") + '\t' + size + '\t' + name + '\n';
    }
    pages.insert(Manifest, Page(manifest));
    std::atomic<int> now{0};
    std::atomic<int> most{0};
    const ScriptedServer server(
        [&pages, &now, &most, atOnce](ScriptedConnection &connection, const QByteArray &request) {
            const QByteArray path = request.split(' ').value(1);
            if (pages.contains(path)) {
                connection.send(pages.value(path));
                return;
            }
            most = qMax(++now, most.load());
            for (int waited = 0; waited < 1000 && most < atOnce; ++waited) {
                connection.pause(10);
            }
            connection.pause(50); // time for one more than allowed
            --now;
            connection.send(Page("x"));
        });
    (void)RunVerify(server); // fails: the sizes are wrong
    QCOMPARE(server.requests().size(), 6);
    QCOMPARE(most.load(), atOnce);
}

void tst_PublishVerify::verify_connectionDropped_isReported()
{
    const Pages pages = m_pages;
    const ScriptedServer server([pages](ScriptedConnection &connection, const QByteArray &request) {
        const QByteArray page = pages.value(request.split(' ').value(1));
        if (request.startsWith("GET " + Host)) {
            connection.send(page.left(page.size() - 1));
            connection.close();
        } else {
            connection.send(page);
        }
    });
    const ToolRun run = RunVerify(server);
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, QByteArray("publish_update: Contents/Host: it arrives incomplete.\n"));
}

void tst_PublishVerify::verify_noServer_isReported()
{
    const quint16 port = ScriptedServer(ScriptedServer::always({})).port();
    const ToolRun run =
        RunPublish({"--verify", QStringLiteral("http://127.0.0.1:%1/pub").arg(port)});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.startsWith("publish_update: update.json: it cannot be fetched: "),
             run.errors.constData());
    QVERIFY2(run.errors.endsWith(",status=0.\n"), run.errors.constData());
}

void tst_PublishVerify::verify_manyFiles_areAllAskedFor()
{
    Pages pages = m_pages;
    QByteArray manifest;
    for (int number = 0; number < 500; ++number) {
        const QByteArray content = QByteArray::number(number);
        pages.insert(Release + "/f" + content, Page(content));
        manifest +=
            Md5Hash(content) + '\t' + QByteArray::number(content.size()) + "\tf" + content + '\n';
    }
    pages.insert(Manifest, Page(manifest));
    pages.insert(Release + "/f77", Page("88"));
    pages.insert(Release + "/f499", Page("4999"));
    const ScriptedServer server(Serve(pages));
    const ToolRun run = RunVerify(server);
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, "publish_update: f499: it is too long: more than 3 bytes.\n"
                         "publish_update: f77: its MD5 text is " +
                             Md5Hash("88") + " instead of " + Md5Hash("77") + ".\n");
    QCOMPARE(server.requests().size(), 502);
    const int threads = qMax(4, QThread::idealThreadCount());
    QVERIFY2(server.connections() <= threads + 1, // kept for the next file
             qPrintable(QString::number(server.connections())));
}

void tst_PublishVerify::verify_manifestBrokenOff_isRefused_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<bool>("isLengthTold");
    QTest::newRow("in a line, length told") << 200 << true;
    QTest::newRow("in a line, no length") << 200 << false;
    QTest::newRow("between a file and its further line, no length")
        << HeadLines().size() + FileLines("Contents/Host", "host").indexOf('\n') + 1 << false;
}

void tst_PublishVerify::verify_manifestBrokenOff_isRefused()
{
    QFETCH(int, length);
    QFETCH(bool, isLengthTold);
    const Pages pages = m_pages;
    const ScriptedServer server([=](ScriptedConnection &connection, const QByteArray &request) {
        const QByteArray path = request.split(' ').value(1);
        if (path != Manifest) {
            connection.send(pages.value(path));
            return;
        }
        const QByteArray whole =
            isLengthTold ? pages.value(path)
                         : "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + ReleaseManifest();
        connection.send(whole.left(whole.indexOf("\r\n\r\n") + 4 + length));
        connection.close();
    });
    const ToolRun run = RunVerify(server);
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.startsWith("publish_update: 3.10.25/update_md5.info: "),
             run.errors.constData());
    const QList<QByteArray> requests = server.requests();
    for (const QByteArray &request : requests) {
        QVERIFY2(!request.contains("Contents"), request.constData()); // no file was asked for
    }
}

void tst_PublishVerify::verify_oldRelease_isVerifiedAsEver()
{
    Pages pages = m_pages;
    pages.insert(Manifest, Page(Md5Hash("host") + "\t4\tContents/Host\n"));
    {
        const ScriptedServer server(Serve(pages));
        QCOMPARE(RunVerify(server).exitCode, 0);
    }
    const ScriptedServer server(Serve(pages));
    const ToolRun run = RunPublish({"--verify", server.url(QString::fromUtf8(Base)), "--public-key",
                                    SigningKey().publicKey()});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.contains("3.10.25/update_md5.info.minisig: the release is not signed"),
             run.errors.constData());
}

void tst_PublishVerify::verify_key_demandsASignature_data()
{
    QTest::addColumn<bool>("isSigned");
    QTest::addColumn<bool>("isOtherKey");
    QTest::addColumn<QByteArray>("report");
    QTest::newRow("signed") << true << false << QByteArray();
    QTest::newRow("not signed") << false << false << QByteArray("the release is not signed");
    QTest::newRow("signed by another key") << true << true << QByteArray("update_md5.info.minisig");
}

void tst_PublishVerify::verify_key_demandsASignature()
{
    QFETCH(bool, isSigned);
    QFETCH(bool, isOtherKey);
    QFETCH(QByteArray, report);
    const SigningKey key;
    Pages pages = m_pages;
    if (isSigned) {
        pages.insert(Manifest + ".minisig", Page(key.signature(ReleaseManifest())));
    }
    const ScriptedServer server(Serve(pages));
    const ToolRun run = RunPublish({"--verify", server.url(QString::fromUtf8(Base)), "--public-key",
                                    isOtherKey ? SigningKey().publicKey() : key.publicKey()});
    QCOMPARE(run.exitCode, report.isEmpty() ? 0 : 1);
    QVERIFY2(run.errors.contains(report), run.errors.constData());
    QVERIFY(!report.isEmpty() || run.output.endsWith("3 files, signed.\n"));
}

void tst_PublishVerify::verify_folder_isAllRight()
{
    const ToolRun run = RunPublish({"--verify", m_folder.filePath("output") + "/"});
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.output,
             QByteArray("All right: version 3.10.25 (3100025) in \"3.10.25\", 3 files.\n"));
    QCOMPARE(run.exitCode, 0);
}

void tst_PublishVerify::verify_folder_fault_isReported_data()
{
    QTest::addColumn<QString>("command"); // run in a copy of the output folder
    QTest::addColumn<QByteArray>("report");
    QTest::newRow("no description")
        << "rm update.json" << QByteArray("update.json: it is missing.");
    QTest::newRow("no manifest") << "rm 3.10.25/update_md5.info"
                                 << QByteArray("3.10.25/update_md5.info: it is missing.");
    QTest::newRow("manifest cut") << "truncate -s -1 3.10.25/update_md5.info"
                                  << QByteArray("3.10.25/update_md5.info: line ");
    QTest::newRow("file missing") << "rm 3.10.25/Contents/Host"
                                  << QByteArray("Contents/Host: No such file or directory.");
    QTest::newRow("file changed") << "printf HOST > 3.10.25/Contents/Host"
                                  << QByteArray("Contents/Host: its MD5 text is ");
    QTest::newRow("file longer") << "printf x >> 3.10.25/Contents/Host"
                                 << QByteArray("Contents/Host: it has 5 bytes instead of 4.");
    QTest::newRow("link to the file")
        << "mv 3.10.25/Contents/Host host && ln -s ../../host 3.10.25/Contents/Host"
        << QByteArray("Contents/Host: it is not a regular file.");
    QTest::newRow("no folder at all") << "rm -r ../copy" << QByteArray(" is not a folder.");
}

void tst_PublishVerify::verify_folder_fault_isReported()
{
    QFETCH(QString, command);
    QFETCH(QByteArray, report);
    const QTemporaryDir folder;
    const QString copy = folder.filePath("copy");
    QCOMPARE(QProcess::execute("cp", {"-a", m_folder.filePath("output"), copy}), 0);
    QCOMPARE(QProcess::execute("sh", {"-c", "cd \"$0\" && " + command, copy}), 0);
    const ToolRun run = RunPublish({"--verify", copy});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.contains(report), run.errors.constData());
    QCOMPARE(run.output, QByteArray());
}

void tst_PublishVerify::verify_folder_extraFile_isWarnedOf()
{
    const QTemporaryDir folder;
    const QString copy = folder.filePath("copy");
    QCOMPARE(QProcess::execute("cp", {"-a", m_folder.filePath("output"), copy}), 0);
    WriteFile(copy + "/3.10.25/.DS_Store", "");
    const ToolRun run = RunPublish({"--verify", copy});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.errors,
             QByteArray("publish_update: warning: .DS_Store: it is not in the manifest.\n"));
    QCOMPARE(RunPublish({"--verify", copy, "--strict"}).exitCode, 1);
}

void tst_PublishVerify::verify_json_saysTheSame()
{
    const ToolRun run = RunPublish({"--verify", m_folder.filePath("output"), "--json"});
    QCOMPARE(run.exitCode, 0);
    const QJsonObject object = QJsonDocument::fromJson(run.output).object();
    QCOMPARE(object.value("success").toBool(), true);
    QCOMPARE(object.value("version").toInt(), 3100025);
    QCOMPARE(object.value("files").toInt(), 3);
    QCOMPARE(object.value("signed").toBool(true), false);
}

QTEST_GUILESS_MAIN(tst_PublishVerify)
#include "tst_publishverify.moc"
