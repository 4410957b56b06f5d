// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/Desktop.h"
#include "tests/support/HostBundle.h"
#include "tests/support/LogMarkers.h"
#include "tests/support/Nginx.h"
#include "tests/support/OwnNamespaces.h"
#include "tests/support/ThrowAwayCa.h"

#include <QUrl>
#include <QtTest>

#include <sys/mount.h>

namespace {

const QString BaseUrl = QStringLiteral(UPDATE_BASE_URL);
const QByteArray HostName = QUrl(BaseUrl).host().toLatin1();
const quint16 Port = static_cast<quint16>(QUrl(BaseUrl).port(443));
const QByteArray RightName = "DNS:" + HostName;
const QString NoWindow;
const QString Download = QStringLiteral("https://example.com/down?a=1&b=2");
const QByteArray Versions = "current version:3.0.0, newest version:3.10.25";

bool HasOwnSurroundings = false;

QByteArray Json(const QByteArray &version)
{
    return "{\"Version\":" + version +
           R"(,"VersionString":"3.10.25","MinVersion":1,"Folder":"f","DownloadUrl":")" +
           Download.toUtf8() + "\"}";
}

QByteArray Report(bool success, bool update, const QByteArray &message)
{
    const auto text = [](bool value) { return value ? QByteArray("true") : QByteArray("false"); };
    return R"({"errormsg":")" + message + R"(","success":)" + text(success) + R"(,"update":)" +
           text(update) + "}";
}

/// The bytes of \a text as a QStringLiteral has them.
QByteArray InLiteral(const QString &text)
{
    return {reinterpret_cast<const char *>(text.utf16()),
            text.size() * static_cast<int>(sizeof(ushort))};
}

/// Lets this process and its children see \a own where the system has \a system.
bool Cover(const QByteArray &system, const QString &own)
{
    return ::mount(QFile::encodeName(own).constData(), system.constData(), nullptr, MS_BIND,
                   nullptr) == 0;
}

} // namespace

/// The program as it ships, with the address compiled in, at a server of that name over TLS. Names
/// and authorities are the test's own, in private namespaces.
class tst_Shipped : public QObject {
    Q_OBJECT

public:
    explicit tst_Shipped(Desktop &desktop) : m_desktop(desktop) {}

private slots:
    void initTestCase();
    static void program_address_isTheOneOverTls();
    void session_overTls_isExactlyItsRow_data();
    void session_overTls_isExactlyItsRow();

private:
    void addRefusedRows();

    Desktop &m_desktop;
    ThrowAwayCa m_trusted;
    ThrowAwayCa m_unknown;
    QTemporaryDir m_system; // what covers the system's own
};

void tst_Shipped::initTestCase()
{
    if (!HasOwnSurroundings) {
        return; // the sessions are skipped
    }
    QVERIFY(m_desktop.isUp());
    QVERIFY(m_trusted.isValid());
    QVERIFY(m_unknown.isValid());
    // Nothing else decides whom to trust.
    QVERIFY(!qEnvironmentVariableIsSet("SSL_CERT_FILE"));
    QVERIFY(!qEnvironmentVariableIsSet("SSL_CERT_DIR"));

    const QString hosts = m_system.filePath(QStringLiteral("hosts"));
    const QString authorities = m_system.filePath(QStringLiteral("authorities"));
    WriteFile(hosts, "127.0.0.1 " + HostName + '\n');
    WriteFile(authorities + QStringLiteral("/ca.pem"), m_trusted.certificate().toPem());
    QCOMPARE(QProcess::execute(QStringLiteral("openssl"), {QStringLiteral("rehash"), authorities}),
             0);
    QVERIFY(Cover("/etc/hosts", hosts));
    QVERIFY(Cover("/etc/ssl/certs", authorities));
}

void tst_Shipped::program_address_isTheOneOverTls()
{
    QCOMPARE(QUrl(BaseUrl).scheme(), QStringLiteral("https"));
    const QByteArray program = ReadFile(QStringLiteral(UPDATER));
    QVERIFY(program.contains(InLiteral(BaseUrl)));
    for (const char *test : {"http://127", "http://localhost"}) {
        QVERIFY2(!program.contains(test), test);
        QVERIFY2(!program.contains(InLiteral(QLatin1String(test))), test);
    }
}

void tst_Shipped::session_overTls_isExactlyItsRow_data()
{
    QTest::addColumn<QSslConfiguration>("tls");
    QTest::addColumn<QByteArray>("description"); // null: no server
    QTest::addColumn<QString>("key");            // what the user presses in the notice
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QString>("marker");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QStringList>("addresses");
    QTest::addColumn<int>("answers");

    const QSslConfiguration good = m_trusted.server(RightName, 2);
    QTest::newRow("newer version, accepted")
        << good << Json("3100025") << QStringLiteral("Return") << Report(true, true, Versions)
        << QStringLiteral("1") << 0 << QStringList{Download} << 1;
    QTest::newRow("newer version, declined")
        << good << Json("3100025") << QStringLiteral("Escape") << Report(true, false, Versions)
        << QStringLiteral("1") << 0 << QStringList() << 1;
    QTest::newRow("no update needed")
        << good << Json("3000000") << NoWindow << Report(true, false, Versions)
        << QStringLiteral("3") << 1 << QStringList() << 1;
    addRefusedRows();
}

void tst_Shipped::addRefusedRows()
{
    const auto row = [](const char *name, const QSslConfiguration &tls,
                        const QByteArray &description, const QString &reason) {
        QTest::newRow(name) << tls << description << NoWindow
                            << Report(false, false,
                                      "下载升级描述文件失败:" + reason.toUtf8() + ",status=0")
                            << QStringLiteral("001") << 0 << QStringList() << 0;
    };
    // Each certificate differs from the good one in one respect.
    const QByteArray newer = Json("3100025");
    row("unknown authority", m_unknown.server(RightName, 2), newer,
        HandshakeFailure(QStringLiteral(
            "The issuer certificate of a locally looked up certificate could not be found")));
    row("wrong host name", m_trusted.server("DNS:elsewhere.example", 2), newer,
        HandshakeFailure(QStringLiteral(
            "The host name did not match any of the valid hosts for this certificate")));
    row("expired", m_trusted.server(RightName, -1), newer,
        HandshakeFailure(QStringLiteral("The certificate has expired")));
    row("nobody there", m_trusted.server(RightName, 2), QByteArray(),
        QStringLiteral("Connection refused"));
}

void tst_Shipped::session_overTls_isExactlyItsRow()
{
    if (!HasOwnSurroundings) {
        QSKIP("A private network and mounts are not available here.");
    }
    QFETCH(QSslConfiguration, tls);
    QFETCH(QByteArray, description);
    QFETCH(QString, key);
    QFETCH(QByteArray, output);
    QFETCH(QString, marker);
    QFETCH(int, exitCode);
    QFETCH(QStringList, addresses);
    QFETCH(int, answers);
    QVERIFY(!tls.localCertificate().isNull());

    Nginx nginx(Port);
    nginx.encrypt(tls);
    const QString path = QUrl(BaseUrl).path() + QStringLiteral("/update.json");
    WriteFile(nginx.root() + path, description);
    QVERIFY(description.isNull() || nginx.start());

    const HostBundle bundle(QStringLiteral(UPDATER));
    const auto session =
        bundle.start({QStringLiteral("console")}, m_desktop.shownIn(bundle.environment()));
    if (!key.isEmpty()) {
        const QString window = m_desktop.waitForWindow(QStringLiteral("CUpdateNotice"));
        QVERIFY2(!window.isEmpty(), "the notice did not come");
        m_desktop.press(window, key);
    }
    QVERIFY(session->waitForFinished());
    QCOMPARE(session->readAllStandardOutput(), output);
    QCOMPARE(session->exitStatus(), QProcess::NormalExit);
    QCOMPARE(session->exitCode(), exitCode);
    const QStringList log = bundle.log();
    QCOMPARE(log.first(), StartMarker);
    QVERIFY(log.contains(QStringLiteral("D update.json  url = ") + BaseUrl +
                         QStringLiteral("/update.json")));
    QCOMPARE(log.last(), Marker(marker));

    nginx.kill();
    QVERIFY(AwaitDescendants({m_desktop.processId()}));
    QCOMPARE(bundle.browserAddresses(), addresses);
    QCOMPARE(bundle.hostStarts(), QStringList());
    QCOMPARE(nginx.answers().size(), answers);
    if (answers > 0) {
        const QByteArray request = "\"GET " + path.toLatin1() + " HTTP/1.1\" 200 ";
        QVERIFY2(nginx.answers().last().contains(request), nginx.answers().last().constData());
    }
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    AdoptDescendants();
    Desktop desktop; // found by its socket's path, which the namespaces below do not change
    HasOwnSurroundings = EnterOwnNamespaces(OwnMounts | OwnNetwork);
    tst_Shipped test(desktop);
    return QTest::qExec(&test, argc, argv);
}
#include "tst_shipped.moc"
