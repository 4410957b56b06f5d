// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"
#include "tests/hosting/HostingStage.h"
#include "tests/support/HostBundle.h"
#include "tests/support/OwnNamespaces.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTcpSocket>
#include <QtTest>

namespace {

const QString BaseUrl = QStringLiteral(UPDATE_BASE_URL);
const QByteArray Forever = "public, max-age=31536000, immutable";

bool HasOwnSurroundings = false;

/// The response for one address below the base URL, requested as the updater does.
struct Answer {
    bool good = false;
    QByteArray body;
    QByteArray cacheControl;
    QString error;
};

Answer Get(const QString &relative)
{
    QNetworkAccessManager manager;
    QMap<QByteArray, QByteArray> headers;
    Answer answer;
    answer.good = GetFileByUrl(manager, QUrl(BaseUrl + QLatin1Char('/') + relative), answer.body,
                               answer.error, 15, {}, "GET", {}, &headers);
    for (auto header = headers.cbegin(); header != headers.cend(); ++header) {
        if (header.key().toLower() == "cache-control") { // HTTP/2 has lower case only
            answer.cacheControl = header.value();
        }
    }
    return answer;
}

/// What may be kept of an error.
QByteArray CacheControlOfError(const QString &relative)
{
    QNetworkAccessManager manager;
    const std::unique_ptr<QNetworkReply> reply(
        manager.get(QNetworkRequest(QUrl(BaseUrl + QLatin1Char('/') + relative))));
    QSignalSpy finished(reply.get(), &QNetworkReply::finished);
    return finished.wait() ? reply->rawHeader("Cache-Control") : QByteArray("no answer");
}

/// All bytes that went over the loopback device, including IP and TCP headers.
qint64 BytesOnTheWire()
{
    const QByteArray lines = ReadFile(QStringLiteral("/proc/net/dev"));
    const QByteArray lo = lines.mid(lines.indexOf("lo:") + 3).simplified();
    return lo.left(lo.indexOf(' ')).toLongLong();
}

} // namespace

/// The configurations of docs/hosting.md.
class tst_Hosting : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup() { m_server.reset(); }

    void server_files_areServedAsTheyMust_data() { addServers(); }
    void server_files_areServedAsTheyMust();
    void server_release_isVerified_data() { addServers(); }
    void server_release_isVerified();
    void server_session_isAnswered_data() { addServers(); }
    void server_session_isAnswered();
    void edge_release_isKept_descriptionIsNot();
    void staged_share_isAboutATenth();
    void check_cost_isSmall();

private:
    static void addServers();
    bool startServer(const QByteArray &block);

    std::unique_ptr<HostingStage> m_stage;
    std::unique_ptr<HostingServer> m_server;
};

void tst_Hosting::initTestCase()
{
    if (!HasOwnSurroundings) {
        QSKIP("A private network and mounts are not available here.");
    }
    QCOMPARE(BaseUrl, QStringLiteral("https://update.example.com/public/kestrel/update/mac"));
    m_stage = std::make_unique<HostingStage>();
    QVERIFY(m_stage->isReady());
    WriteFile(m_stage->path(QStringLiteral("release/资源/图 片+1.dat")), "picture");
    WriteFile(m_stage->path(QStringLiteral("release/Contents/Info.plist")),
              "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>"
              "<string>com.example.kestrel</string><key>CFBundleShortVersionString</key>"
              "<string>3.0.0</string></dict></plist>\n");
    WriteFile(m_stage->path(QStringLiteral("release/bin/kestrel")), QByteArray(100000, 'k'));
    QProcess publish;
    publish.start(QStringLiteral(PUBLISH_UPDATE),
                  {QStringLiteral("--version"), QStringLiteral("3.0.0"),
                   QStringLiteral("--min-version"), QStringLiteral("2.0.0"),
                   QStringLiteral("--download-url"), QStringLiteral("https://example.com/"),
                   m_stage->path(QStringLiteral("release")), QStringLiteral("/srv/update")});
    QVERIFY(publish.waitForFinished());
    QVERIFY2(publish.exitCode() == 0, publish.readAllStandardError().constData());
}

void tst_Hosting::init()
{
    WriteFile(QStringLiteral("/srv/update/.publish_update/x"), "x");
}

void tst_Hosting::addServers()
{
    QTest::addColumn<QByteArray>("block");
    QTest::newRow("nginx") << QByteArray("nginx");
    QTest::newRow("Caddy") << QByteArray("caddy");
    QTest::newRow("nginx, staged") << QByteArray("nginx-staged");
}

bool tst_Hosting::startServer(const QByteArray &block)
{
    WriteFile(QStringLiteral("/srv/update/update.early.json"),
              ReadFile(QStringLiteral("/srv/update/update.json")));
    m_server =
        block == "caddy" ? m_stage->caddy(PageBlock(block)) : m_stage->nginx(PageBlock(block));
    return m_server != nullptr;
}

void tst_Hosting::server_files_areServedAsTheyMust()
{
    QFETCH(QByteArray, block);
    QVERIFY(startServer(block));
    const Answer description = Get(QStringLiteral("update.json"));
    QVERIFY2(description.good, qPrintable(description.error));
    QCOMPARE(description.body, ReadFile(QStringLiteral("/srv/update/update.json")));
    QCOMPARE(description.cacheControl, QByteArray("no-store"));
    for (const char *name :
         {"3.0.0/update_md5.info", "3.0.0/资源/图 片+1.dat", "3.0.0/bin/kestrel"}) {
        const QString path = QString::fromUtf8(name);
        const Answer file = Get(path);
        QVERIFY2(file.good, qPrintable(path + file.error));
        QVERIFY2(file.body == ReadFile(QStringLiteral("/srv/update/") + path), name);
        QCOMPARE(file.cacheControl, Forever);
    }
    const QStringList missing{QStringLiteral("3.0.0/none"), QStringLiteral("3.0.0/BIN/kestrel"),
                              QStringLiteral("../../../../etc/passwd"),
                              QStringLiteral(".publish_update/x")};
    for (const QString &path : missing) {
        const Answer none = Get(path);
        QVERIFY2(!none.good, qPrintable(path));
        QVERIFY2(none.error.contains(QStringLiteral("status=404")), qPrintable(none.error));
        QCOMPARE(CacheControlOfError(path), QByteArray());
    }
}

void tst_Hosting::server_release_isVerified()
{
    QFETCH(QByteArray, block);
    QVERIFY(startServer(block));
    QProcess verify;
    verify.start(QStringLiteral(PUBLISH_UPDATE), {QStringLiteral("--verify"), BaseUrl});
    QVERIFY(verify.waitForFinished());
    QVERIFY2(verify.exitCode() == 0, verify.readAllStandardError().constData());
}

void tst_Hosting::server_session_isAnswered()
{
    QFETCH(QByteArray, block);
    QVERIFY(startServer(block));
    const HostBundle bundle(QStringLiteral(UPDATER));
    const auto session = bundle.start({QStringLiteral("console")}, bundle.environment());
    QVERIFY(session->waitForFinished());
    QCOMPARE(session->readAllStandardOutput(),
             QByteArray(R"({"errormsg":"current version:3.0.0, newest version:3.0.0",)"
                        R"("success":true,"update":false})"));
}

void tst_Hosting::edge_release_isKept_descriptionIsNot()
{
    // The origin is the page's own server under its other name.
    QByteArray site = PageBlock("nginx");
    site.replace("listen 443 ssl", "listen 127.0.0.2:443 ssl");
    site.replace("update.example.com;", "origin.example.com;");
    auto origin = m_stage->nginx(site, QStringLiteral("127.0.0.2"));
    QVERIFY(origin);
    QByteArray edge = PageBlock("nginx-edge");
    edge.replace("listen 443 ssl", "listen 127.0.0.1:443 ssl"); // the origin has the other address
    m_server = m_stage->nginx(edge);
    QVERIFY(m_server);

    const QString file = QStringLiteral("3.0.0/bin/kestrel");
    QVERIFY2(Get(file).good, qPrintable(Get(file).error));
    QCOMPARE(Get(file).cacheControl, Forever);
    QVERIFY(Get(QStringLiteral("update.json")).good);
    QVERIFY(!Get(QStringLiteral("3.0.0/later")).good);
    WriteFile(QStringLiteral("/srv/update/3.0.0/later"), "an error must not be kept");
    QVERIFY(Get(QStringLiteral("3.0.0/later")).good);
    QVERIFY(QFile::remove(QStringLiteral("/srv/update/3.0.0/later")));

    origin.reset();
    QVERIFY(Get(file).good);
    QVERIFY(!Get(QStringLiteral("update.json")).good);
}

void tst_Hosting::staged_share_isAboutATenth()
{
    WriteFile(QStringLiteral("/srv/update/update.early.json"), "early");
    m_server = m_stage->nginx(PageBlock("nginx-staged")
                                  .replace("listen 443 ssl", "listen 443")
                                  .replace("ssl_certificate", "#"));
    QVERIFY(m_server);
    int early = 0;
    for (int i = 0; i < 600; ++i) {
        QTcpSocket socket;
        QVERIFY(socket.bind(QHostAddress(0x7f000000U + 256U * static_cast<quint32>(i % 30 + 1) +
                                         static_cast<quint32>(i / 30 + 2))));
        socket.connectToHost(QStringLiteral("127.0.0.1"), 443);
        QVERIFY(socket.waitForConnected());
        socket.write("GET /public/kestrel/update/mac/update.json HTTP/1.0\r\n\r\n");
        QVERIFY(socket.waitForDisconnected() ||
                socket.state() == QAbstractSocket::UnconnectedState);
        early += socket.readAll().endsWith("early") ? 1 : 0;
    }
    QVERIFY2(early >= 30 && early <= 100, qPrintable(QString::number(early)));
}

void tst_Hosting::check_cost_isSmall()
{
    m_server = m_stage->nginx(PageBlock("nginx"));
    QVERIFY(m_server);
    const HostBundle bundle(QStringLiteral(UPDATER));
    const auto requests = m_stage->answers().size();
    const qint64 before = BytesOnTheWire();
    const auto session = bundle.start({QStringLiteral("console")}, bundle.environment());
    QVERIFY(session->waitForFinished());
    QVERIFY(session->readAllStandardOutput().contains("\"success\":true"));
    const qint64 bytes = BytesOnTheWire() - before;
    qInfo("one check: %lld bytes in both directions, %lld request", bytes,
          static_cast<qint64>(m_stage->answers().size() - requests));
    QCOMPARE(m_stage->answers().size() - requests, 1);
    QVERIFY(bytes > 1000);
    QVERIFY(bytes < 8000);
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    HasOwnSurroundings = EnterOwnNamespaces(OwnMounts | OwnNetwork);
    tst_Hosting test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_hosting.moc"
