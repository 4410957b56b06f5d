// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/PublishedRelease.h"

#include "tests/support/FaultyAnswers.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/SigningKey.h"
#include "tests/support/TestFiles.h"

#include <QtTest>

#include <sys/stat.h>

using Kind = ReleaseFault::Kind;
Q_DECLARE_METATYPE(ReleaseFault::Kind)

/// Published releases are read and checked, from a web server and from a folder.
class tst_PublishedRelease : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void read_release_givesWhatIsPublished_data();
    void read_release_givesWhatIsPublished();
    void read_oldManifest_isTakenAsEver();
    void read_oldManifest_isRefusedWithAKey();
    void read_signed_nothingUnsignedDecides();
    void read_knownManifest_isChecked_data();
    void read_knownManifest_isChecked();
    void read_releaseWithAFault_isRefused_data();
    void read_releaseWithAFault_isRefused();
    void read_answerOfTheServer_isRefused_data();
    void read_answerOfTheServer_isRefused();
    void read_faultyManifest_isRefusedOrWhole_data();
    void read_faultyManifest_isRefusedOrWhole();
    void read_manifestOfUnknownLength_needsASignature_data();
    void read_manifestOfUnknownLength_needsASignature();
    void webSource_requests_areWhatAnUpdaterSends();
    void webSource_limit_isKept_data();
    void webSource_limit_isKept();
    void webSource_bodyThatBreaksOff_isRefused_data();
    void webSource_bodyThatBreaksOff_isRefused();
    void webSource_lateAnswer_isRefusedAndForgotten();
    void webSource_noServer_isSaid();
    void folderSource_files_areReadOrRefused_data();
    void folderSource_files_areReadOrRefused();

private:
    QMap<QByteArray, QByteArray> signedPages(const QByteArray &manifest) const;
    ReleaseFault readPages(const QMap<QByteArray, QByteArray> &pages, bool withKey,
                           PublishedRelease &release, const QByteArray &known = QByteArray()) const;

    std::unique_ptr<SigningKey> m_signer;
    PublicKey m_key;
};

namespace {

const QByteArray Md5(32, 'a');
const QByteArray Sha256(64, 'b');
const QByteArray DescriptionName = "update.json";
const QByteArray ManifestName = "3.10.25/update_md5.info";
const QByteArray SignatureName = "3.10.25/update_md5.info.minisig";

QByteArray Description()
{
    return DescriptionContent({3100025, "by update.json", "3.10.25", 7, "https://h/update.json"});
}

QByteArray Manifest(int files = 20)
{
    ReleaseManifest manifest;
    manifest.isComplete = true;
    manifest.version = 3100025;
    manifest.folder = QStringLiteral("3.10.25");
    manifest.versionString = QStringLiteral("by the manifest");
    manifest.minVersion = 3000000;
    manifest.page = QStringLiteral("https://h/manifest");
    for (int number = 0; number < files; ++number) {
        manifest.files.push_back({QStringLiteral("file%1").arg(number), 1, Md5, Sha256, 0644});
    }
    return ManifestContent(manifest);
}

QByteArray OldManifest()
{
    return Md5 + "\t1\ta\n" + Md5 + "\t1\tb\n";
}

/// A server of whole pages, with 404 for the others.
ScriptedServer::Handler Serve(const QMap<QByteArray, QByteArray> &pages)
{
    return [pages](ScriptedConnection &connection, const QByteArray &request) {
        const QByteArray name = request.split(' ').value(1).mid(1);
        connection.send(pages.contains(name)
                            ? ScriptedServer::answer("200 OK", pages.value(name))
                            : ScriptedServer::answer("404 Not Found", "no such page"));
    };
}

QString Url(const ScriptedServer &server)
{
    return server.url(QString());
}

} // namespace

void tst_PublishedRelease::initTestCase()
{
    m_signer = std::make_unique<SigningKey>();
    QCOMPARE(ReadPublicKey(m_signer->publicKey(), m_key), QString());
}

QMap<QByteArray, QByteArray> tst_PublishedRelease::signedPages(const QByteArray &manifest) const
{
    return {{DescriptionName, Description()},
            {ManifestName, manifest},
            {SignatureName, m_signer->signature(manifest)}};
}

/// Reads the pages as files of a folder.
ReleaseFault tst_PublishedRelease::readPages(const QMap<QByteArray, QByteArray> &pages,
                                             bool withKey, PublishedRelease &release,
                                             const QByteArray &known) const
{
    const QTemporaryDir folder;
    for (auto page = pages.cbegin(); page != pages.cend(); ++page) {
        WriteFile(folder.filePath(QString::fromLatin1(page.key())), *page);
    }
    FolderSource source(folder.path());
    return ReadPublishedRelease(source, withKey ? QVector<PublicKey>{m_key} : QVector<PublicKey>(),
                                release, known);
}

void tst_PublishedRelease::read_release_givesWhatIsPublished_data()
{
    QTest::addColumn<bool>("fromWeb");
    QTest::addColumn<bool>("withKey");
    QTest::newRow("web") << true << false;
    QTest::newRow("web, key") << true << true;
    QTest::newRow("folder") << false << false;
    QTest::newRow("folder, key") << false << true;
}

void tst_PublishedRelease::read_release_givesWhatIsPublished()
{
    QFETCH(bool, fromWeb);
    QFETCH(bool, withKey);
    const auto pages = signedPages(Manifest());
    PublishedRelease release;
    ReleaseFault fault;
    if (fromWeb) {
        const ScriptedServer server(Serve(pages));
        WebSource source(Url(server));
        fault = ReadPublishedRelease(
            source, withKey ? QVector<PublicKey>{m_key} : QVector<PublicKey>(), release);
        QCOMPARE(server.requests().size(), withKey ? 3 : 2);
        QCOMPARE(server.connections(), 1);
    } else {
        fault = readPages(pages, withKey, release);
    }
    QCOMPARE(fault.detail, QString());
    QCOMPARE(fault.kind, Kind::None);
    QCOMPARE(release.isSigned, withKey);
    QCOMPARE(release.manifestContent, Manifest());
    QCOMPARE(release.signature, withKey ? pages.value(SignatureName) : QByteArray());
    QCOMPARE(release.manifest.files.size(), std::size_t(20));
    QCOMPARE(release.manifest.version, 3100025);
    QCOMPARE(release.description.version, 3100025);
    QCOMPARE(release.description.folder, QString("3.10.25"));
    QCOMPARE(release.descriptionProblems, QStringList());
    // Once the manifest can be trusted, its values are shown and used.
    QCOMPARE(release.description.versionString,
             withKey ? QString("by the manifest") : QString("by update.json"));
    QCOMPARE(release.description.minVersion, withKey ? 3000000 : 7);
    QCOMPARE(release.description.downloadUrl,
             withKey ? QString("https://h/manifest") : QString("https://h/update.json"));
}

void tst_PublishedRelease::read_oldManifest_isTakenAsEver()
{
    PublishedRelease release;
    QCOMPARE(
        readPages({{DescriptionName, Description()}, {ManifestName, OldManifest()}}, false, release)
            .detail,
        QString());
    QVERIFY(!release.manifest.isComplete);
    QCOMPARE(release.manifest.files.size(), std::size_t(2));
    // Only the folder is needed from update.json; other faults are reported.
    QCOMPARE(
        readPages({{DescriptionName, R"({"Folder":"3.10.25"})"}, {ManifestName, OldManifest()}},
                  false, release)
            .detail,
        QString());
    QCOMPARE(release.descriptionProblems.size(), 5);
}

void tst_PublishedRelease::read_oldManifest_isRefusedWithAKey()
{
    PublishedRelease release;
    const ReleaseFault fault = readPages(signedPages(OldManifest()), true, release);
    QCOMPARE(fault.kind, Kind::Manifest);
    QCOMPARE(fault.subject.toLatin1(), ManifestName);
    QCOMPARE(
        fault.detail,
        QString("it does not say which release it belongs to, so its signature proves nothing"));
}

void tst_PublishedRelease::read_signed_nothingUnsignedDecides()
{
    auto pages = signedPages(Manifest());
    pages[DescriptionName] =
        R"({"Folder":"3.10.25","Version":3100025,"MinVersion":"all","DownloadUrl":"http://evil/"})";
    PublishedRelease release;
    QCOMPARE(readPages(pages, true, release).detail, QString());
    QCOMPARE(release.description.versionString, QString("by the manifest"));
    QCOMPARE(release.description.minVersion, 3000000);
    QCOMPARE(release.description.downloadUrl, QString("https://h/manifest"));
}

void tst_PublishedRelease::read_knownManifest_isChecked_data()
{
    QTest::addColumn<QByteArray>("known");
    QTest::addColumn<QByteArray>("description");
    QTest::addColumn<QByteArray>("signedContent"); // what the signature is of; empty: no key
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<bool>("isKnown");
    const QByteArray manifest = Manifest();
    const QByteArray other =
        DescriptionContent({3100026, "another", "3.10.26", 7, "https://h/update.json"})
            .replace("3.10.26", "3.10.25"); // in the same folder
    QTest::newRow("the same") << manifest << Description() << QByteArray() << Kind::None << true;
    QTest::newRow("the same, signed")
        << manifest << Description() << manifest << Kind::None << true;
    QTest::newRow("another") << Manifest(19) << Description() << QByteArray() << Kind::None
                             << false;
    QTest::newRow("a part") << manifest.left(manifest.size() - 1) << Description() << QByteArray()
                            << Kind::None << false;
    QTest::newRow("none") << QByteArray() << Description() << QByteArray() << Kind::None << false;
    QTest::newRow("the same, another's signature")
        << manifest << Description() << Manifest(19) << Kind::Signature << false;
    QTest::newRow("the same, another release announced")
        << manifest << other << QByteArray() << Kind::Mismatch << true;
}

void tst_PublishedRelease::read_knownManifest_isChecked()
{
    QFETCH(QByteArray, known);
    QFETCH(QByteArray, description);
    QFETCH(QByteArray, signedContent);
    QFETCH(Kind, kind);
    QFETCH(bool, isKnown);
    auto pages = signedPages(Manifest());
    pages[DescriptionName] = description;
    pages[SignatureName] = m_signer->signature(signedContent);
    PublishedRelease release;
    QCOMPARE(readPages(pages, !signedContent.isEmpty(), release, known).kind, kind);
    QCOMPARE(release.isKnown, isKnown);
    if (kind == Kind::None) {
        QCOMPARE(release.manifestContent, Manifest());
        QCOMPARE(release.description.version, 3100025);
        QCOMPARE(release.manifest.version, 3100025);
        QCOMPARE(release.manifest.files.size(), isKnown ? std::size_t(0) : std::size_t(20));
    }
}

void tst_PublishedRelease::read_releaseWithAFault_isRefused_data()
{
    QTest::addColumn<QByteArray>("page");
    QTest::addColumn<QByteArray>("content"); // null: the page is missing
    QTest::addColumn<bool>("withKey");
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QByteArray>("subject");
    QTest::addColumn<QString>("detail");
    const auto row = [](const char *rule, const QByteArray &page, const QByteArray &content,
                        bool withKey, Kind kind, const char *detail, QByteArray subject = {}) {
        subject = subject.isEmpty() ? page : subject;
        QTest::newRow(rule) << page << content << withKey << kind << subject
                            << QString::fromUtf8(detail);
    };
    const QByteArray manifest = Manifest();
    const auto about = [](int version, const char *folder) {
        return DescriptionContent({version, "", folder, 0, "https://h/"});
    };
    row("no update.json", DescriptionName, {}, false, Kind::Missing, "it is missing");
    row("update.json cut off", DescriptionName, Description().chopped(10), false, Kind::Description,
        "it is not JSON");
    row("update.json without a folder", DescriptionName, "{}", false, Kind::Description,
        "Folder: it is empty");
    row("update.json leads out", DescriptionName, R"({"Folder":".."})", false, Kind::Description,
        R"(Folder: it has a ".." component)");
    row("update.json is too long", DescriptionName, QByteArray((1 << 20) + 1, ' '), false,
        Kind::Network, "it is too long: more than 1048576 bytes");
    row("no manifest", ManifestName, {}, false, Kind::Missing, "it is missing");
    row("empty manifest", ManifestName, "", false, Kind::Manifest,
        "line 1: the manifest lists no file");
    row("manifest cut off in a line", ManifestName, manifest.chopped(1), false, Kind::Manifest,
        "line 43: the manifest is cut off");
    row("manifest is refused", ManifestName, manifest + "x\n", false, Kind::Manifest,
        "line 44: it does not have three fields");
    row("other version", DescriptionName, about(3100026, "3.10.25"), false, Kind::Mismatch,
        R"(it names version 3100026 in "3.10.25", but the manifest has version 3100025)");
    row("version that is no number", DescriptionName, R"({"Folder":"3.10.25","Version":"3100025"})",
        false, Kind::Mismatch, "it names version 0 in");
    row("other version, key", DescriptionName, about(3100026, "3.10.25"), true, Kind::Mismatch,
        "it names version 3100026 in");
    row("manifest of another folder", ManifestName,
        QByteArray(manifest).replace("\t3.10.25\t", "\t3.10.26\t"), false, Kind::Mismatch,
        R"(it names version 3100025 in "3.10.25", but the manifest has version 3100025 in "3.10.26")",
        DescriptionName);
    row("no signature, key", SignatureName, {}, true, Kind::Signature,
        "the release is not signed: it is missing");
    row("signature cut, key", SignatureName, "untrusted comment: x\n", true, Kind::Signature,
        "it is cut off");
    row("signature too long, key", SignatureName, QByteArray(TooLargeSignature + 1, 'x'), true,
        Kind::Network, "it is too long");
    row("signature of another manifest, key", ManifestName, Manifest(19), true, Kind::Signature,
        "it is not a signature of this content", SignatureName);
    row("bad manifest not signed so, key", ManifestName, "@!", true, Kind::Signature,
        "it is not a signature of this content", SignatureName);
}

void tst_PublishedRelease::read_releaseWithAFault_isRefused()
{
    QFETCH(QByteArray, page);
    QFETCH(QByteArray, content);
    QFETCH(bool, withKey);
    QFETCH(Kind, kind);
    QFETCH(QByteArray, subject);
    QFETCH(QString, detail);
    auto pages = signedPages(Manifest());
    if (content.isNull()) {
        pages.remove(page);
    } else {
        pages[page] = content;
    }
    PublishedRelease release;
    const ReleaseFault fault = readPages(pages, withKey, release);
    QVERIFY2(fault.detail.contains(detail), qPrintable(fault.detail));
    QCOMPARE(fault.kind, kind);
    QCOMPARE(fault.subject.toLatin1(), subject);
    QVERIFY(!release.isSigned || kind == Kind::Mismatch);
}

void tst_PublishedRelease::read_answerOfTheServer_isRefused_data()
{
    QTest::addColumn<QByteArray>("answer"); // to every request
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QString>("detail");
    const auto row = [](const char *rule, const QByteArray &answer, Kind kind, const char *detail) {
        QTest::newRow(rule) << answer << kind << QString::fromLatin1(detail);
    };
    const auto answer = ScriptedServer::answer;
    row("missing", answer("404 Not Found", "", {}), Kind::Missing, "it is missing (status 404)");
    row("gone", answer("410 Gone", "", {}), Kind::Missing, "it is missing (status 410)");
    for (const char *status : {"301", "302", "303", "307", "308"}) {
        row(status, answer(status + QByteArray(" Moved"), "", "Location: /other\r\n"),
            Kind::Network, "it is redirected, which no updater follows");
    }
    row("not modified", answer("304 Not Modified", "", {}), Kind::Network,
        "it cannot be fetched: ");
    row("forbidden", answer("403 Forbidden", "", {}), Kind::Network, "it cannot be fetched: ");
    row("broken", answer("500 Internal Server Error", "", {}), Kind::Network,
        "it cannot be fetched: ");
    row("no content", answer("204 No Content", "", {}), Kind::Network, "it cannot be fetched: ");
    row("compressed", answer("200 OK", Description(), "Content-Encoding: gzip\r\n"), Kind::Network,
        "it is sent compressed (gzip), although that was not asked for");
    row("compressed otherwise", answer("200 OK", Description(), "CONTENT-ENCODING: br\r\n"),
        Kind::Network, "it is sent compressed (br), although that was not asked for");
    row("not compressed, and said so", answer("200 OK", "{", "Content-Encoding: Identity\r\n"),
        Kind::Description, "it is not JSON");
    row("another protocol", "220 mail.example.com ready\r\n", Kind::Network,
        "it cannot be fetched: ");
}

void tst_PublishedRelease::read_answerOfTheServer_isRefused()
{
    QFETCH(QByteArray, answer);
    QFETCH(Kind, kind);
    QFETCH(QString, detail);
    const ScriptedServer server([&answer](ScriptedConnection &connection, const QByteArray &) {
        connection.send(answer);
        connection.close();
    });
    WebSource source(Url(server));
    PublishedRelease release;
    const ReleaseFault fault = ReadPublishedRelease(source, {}, release);
    QVERIFY2(fault.detail.startsWith(detail), qPrintable(fault.detail));
    QCOMPARE(fault.kind, kind);
    QCOMPARE(fault.subject, QString("update.json"));
    for (const QByteArray &request : server.requests()) {
        QVERIFY(request.startsWith("GET /update.json ")); // and nothing else
    }
}

void tst_PublishedRelease::read_faultyManifest_isRefusedOrWhole_data()
{
    QTest::addColumn<FaultyAnswer>("answer");
    const QList<FaultyAnswer> answers = FaultyAnswers(Manifest());
    int waiting = 0;
    for (const FaultyAnswer &answer : answers) {
        // These rows take a second or two each: waiting is tested once, and long heads do not
        // concern the body.
        const bool isWorthIt = answer.bytes.size() < 100000 && (!answer.waits || ++waiting <= 2);
        if (isWorthIt) {
            QTest::newRow(qPrintable(answer.name)) << answer;
        }
    }
    QTest::newRow("gzip") << GzipAnswer(Manifest());
}

/// Whatever goes wrong on the way, only the published manifest is accepted.
void tst_PublishedRelease::read_faultyManifest_isRefusedOrWhole()
{
    QFETCH(FaultyAnswer, answer);
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &request) {
        if (request.startsWith("GET /update.json ")) {
            connection.send(ScriptedServer::answer("200 OK", Description()));
        } else {
            Give(answer, connection);
        }
    });
    WebSource source(Url(server));
    source.setSeconds(10, answer.waits || answer.quick >= 0 ? 1 : 10);
    PublishedRelease release;
    const ReleaseFault fault = ReadPublishedRelease(source, {}, release);
    QVERIFY(!fault.isNone() || release.manifestContent == Manifest());
    QVERIFY(fault.isNone() != (fault.kind == Kind::Network || fault.kind == Kind::Manifest));
}

void tst_PublishedRelease::read_manifestOfUnknownLength_needsASignature_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QByteArray>("end");
    QTest::addColumn<int>("missing"); // lines at the end
    const QByteArray ok = "HTTP/1.1 200 OK\r\n";
    const QByteArray chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
    QTest::newRow("no length, whole") << ok + "\r\n" << QByteArray() << 0;
    QTest::newRow("no length, without the last file") << ok + "\r\n" << QByteArray() << 2;
    QTest::newRow("chunks, whole") << chunked << QByteArray("0\r\n\r\n") << 0;
    QTest::newRow("chunks, without the last file") << chunked << QByteArray() << 2;
}

/// Such a body can break off unnoticed, and a manifest without its last lines is still valid.
void tst_PublishedRelease::read_manifestOfUnknownLength_needsASignature()
{
    QFETCH(QByteArray, head);
    QFETCH(QByteArray, end);
    QFETCH(int, missing);
    const auto pages = signedPages(Manifest());
    QByteArray body = Manifest(20 - missing / 2);
    QCOMPARE(Manifest().count('\n') - body.count('\n'), missing);
    if (head.contains("chunked")) {
        body = QByteArray::number(body.size(), 16) + "\r\n" + body + "\r\n";
    }
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &request) {
        const QByteArray name = request.split(' ').value(1).mid(1);
        if (name == ManifestName) {
            connection.send(head + body + end);
            connection.close();
        } else {
            connection.send(ScriptedServer::answer("200 OK", pages.value(name)));
        }
    });
    WebSource source(Url(server));
    PublishedRelease release;
    const QString unknown(
        "the server does not give its length, so a part of it could pass for the whole");
    const QString broken("it arrives incomplete"); // a missing last chunk is noticed sometimes
    const QString unsignedDetail = ReadPublishedRelease(source, {}, release).detail;
    QVERIFY2(unsignedDetail == unknown || (missing > 0 && unsignedDetail == broken),
             qPrintable(unsignedDetail));
    const QString signedDetail = ReadPublishedRelease(source, {m_key}, release).detail;
    QVERIFY2(missing == 0 ? signedDetail.isEmpty()
                          : signedDetail == "it is not a signature of this content" ||
                                signedDetail == broken,
             qPrintable(signedDetail));
}

void tst_PublishedRelease::webSource_requests_areWhatAnUpdaterSends()
{
    const ScriptedServer server(Serve({{"a/b c", "x"}}));
    WebSource source(server.url("/base"));
    QByteArray content("before");
    QCOMPARE(source.read("a/none", 1, content).kind, Kind::Missing); // whatever the page contains
    QCOMPARE(content, QByteArray("before"));
    const QByteArray request = server.requests().constFirst();
    QVERIFY2(request.startsWith("GET /base/a/none HTTP/1.1\r\n"), request.constData());
    QVERIFY2(request.contains("\r\nAccept-Encoding: identity\r\n"), request.constData());
}

void tst_PublishedRelease::webSource_limit_isKept_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::newRow("length") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n");
    QTest::newRow("no length") << QByteArray("HTTP/1.1 200 OK\r\n\r\n");
}

void tst_PublishedRelease::webSource_limit_isKept()
{
    QFETCH(QByteArray, head);
    const ScriptedServer server([&head](ScriptedConnection &connection, const QByteArray &) {
        connection.send(head + QByteArray(1000, 'x'));
        connection.close();
    });
    WebSource source(Url(server));
    QByteArray content;
    QCOMPARE(source.read("file", 999, content).detail,
             QString("it is too long: more than 999 bytes"));
    QCOMPARE(content, QByteArray());
    QCOMPARE(source.read("file", 1000, content).detail, QString());
    QCOMPARE(content, QByteArray(1000, 'x'));
}

void tst_PublishedRelease::webSource_bodyThatBreaksOff_isRefused_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("isReset");
    const QByteArray head = "HTTP/1.1 200 OK\r\n";
    for (const bool isReset : {false, true}) {
        const char *const ending = isReset ? ", reset" : "";
        QTest::newRow(qPrintable(QString("length too large").append(ending)))
            << head + "Content-Length: 1000\r\n\r\nline\n"
            << isReset;
        QTest::newRow(qPrintable(QString("length of one more").append(ending)))
            << head + "Content-Length: 6\r\n\r\nline\n"
            << isReset;
    }
}

/// The part that arrives ends with a whole line: only the network layer can notice the break.
void tst_PublishedRelease::webSource_bodyThatBreaksOff_isRefused()
{
    QFETCH(QByteArray, answer);
    QFETCH(bool, isReset);
    const ScriptedServer server([&](ScriptedConnection &connection, const QByteArray &) {
        connection.send(answer);
        if (isReset) {
            connection.pause(200); // so that the bytes sent arrive
            connection.reset();
        } else {
            connection.close();
        }
    });
    WebSource source(Url(server));
    QByteArray content("before");
    const ReleaseFault fault = source.read("file", 100000, content);
    QCOMPARE(fault.kind, Kind::Network);
    QCOMPARE(fault.detail, QString("it arrives incomplete"));
    QCOMPARE(content, QByteArray("before"));
}

/// A late answer is not mistaken for the answer to the next request.
void tst_PublishedRelease::webSource_lateAnswer_isRefusedAndForgotten()
{
    const ScriptedServer server([](ScriptedConnection &connection, const QByteArray &request) {
        if (request.contains("late")) {
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" +
                            QByteArray(500, 'x'));
            connection.pause(1500);
            connection.send(QByteArray(100, 'x'));
            connection.reset();
        } else {
            connection.pause(1000);
            connection.send(ScriptedServer::answer("200 OK", "in time"));
        }
    });
    WebSource source(Url(server));
    source.setSeconds(1, 1);
    QByteArray content;
    QCOMPARE(source.read("late", 10000, content).detail,
             QString("it did not arrive within 1 seconds"));
    source.setSeconds(10, 10);
    QCOMPARE(source.read("other", 100, content).detail, QString());
    QCOMPARE(content, QByteArray("in time"));
}

void tst_PublishedRelease::webSource_noServer_isSaid()
{
    QString url;
    {
        const ScriptedServer server(Serve({}));
        url = Url(server);
    }
    WebSource source(url);
    PublishedRelease release;
    const ReleaseFault fault = ReadPublishedRelease(source, {}, release);
    QCOMPARE(fault.kind, Kind::Network);
    QVERIFY2(fault.detail.startsWith("it cannot be fetched: Connection refused"),
             qPrintable(fault.detail));
}

void tst_PublishedRelease::folderSource_files_areReadOrRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<QString>("detail");
    QTest::newRow("file") << "file" << Kind::None << "";
    QTest::newRow("file at the limit") << "limit" << Kind::None << "";
    QTest::newRow("file over the limit")
        << "long" << Kind::Network << "it is too long: more than 100000 bytes";
    QTest::newRow("missing") << "none" << Kind::Missing << "it is missing";
    QTest::newRow("in no folder") << "file/a" << Kind::Missing << "it is missing";
    QTest::newRow("folder") << "folder" << Kind::Network
                            << "it cannot be read: it is not a regular file";
    QTest::newRow("link") << "link" << Kind::Network
                          << "it cannot be read: it is not a regular file";
    QTest::newRow("pipe") << "pipe" << Kind::Network
                          << "it cannot be read: it is not a regular file";
}

void tst_PublishedRelease::folderSource_files_areReadOrRefused()
{
    QFETCH(QString, name);
    const QTemporaryDir folder;
    WriteFile(folder.filePath("file"), "in it");
    WriteFile(folder.filePath("limit"), QByteArray(100000, 'x'));
    WriteFile(folder.filePath("long"), QByteArray(100001, 'x'));
    QVERIFY(QDir(folder.path()).mkdir("folder"));
    QVERIFY(QFile::link("file", folder.filePath("link")));
    QCOMPARE(::mkfifo(QFile::encodeName(folder.filePath("pipe")).constData(), 0600), 0);
    FolderSource source(folder.path());
    QByteArray content("before");
    const ReleaseFault fault = source.read(name, 100000, content);
    QTEST(fault.kind, "kind");
    QTEST(fault.detail, "detail");
    QVERIFY(source.isKnownWhole());
    QCOMPARE(content, fault.isNone() ? ReadFile(folder.filePath(name)) : QByteArray("before"));
}

QTEST_GUILESS_MAIN(tst_PublishedRelease)
#include "tst_publishedrelease.moc"
