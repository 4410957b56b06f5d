// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/HostBundle.h"
#include "tests/support/LogMarkers.h"
#include "tests/support/Onlooker.h"
#include "tests/support/SessionTest.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QtTest>

namespace {

const QString Updater = QStringLiteral(UPDATER);
const QString DescriptionPath = QStringLiteral("/public/kestrel/update/mac/update.json");
const QString NoWindow;
const QString Notice = QStringLiteral("CUpdateNotice");
const QString Address = QStringLiteral("https://example.com/down?a=1&b=2");
// Our choice, here and below: the blanks between the pieces of a log line are the toolkit's.
const QString OpenedLine = QStringLiteral("I 尝试打开的url： ") + Address;

QByteArray Report(bool success, bool update, const QString &message)
{
    const auto text = [](bool value) { return value ? QByteArray("true") : QByteArray("false"); };
    return R"({"errormsg":")" + message.toUtf8() + R"(","success":)" + text(success) +
           R"(,"update":)" + text(update) + "}";
}

QByteArray Json(const QByteArray &version)
{
    return "{\"Version\":" + version +
           ",\"VersionString\":\"3.10.25\",\"MinVersion\":1,\"Folder\":\"f\","
           "\"DownloadUrl\":\"https://example.com/down?a=1&b=2\"}";
}

/// What the toolkit offers by itself: Qt 6 more than Qt 5.
QByteArray OfferedEncodings()
{
    const ScriptedServer server(ScriptedServer::always(ScriptedServer::answer("200 OK", "")));
    QNetworkAccessManager manager;
    const std::unique_ptr<QNetworkReply> reply(
        manager.get(QNetworkRequest(QUrl(server.url(QStringLiteral("/"))))));
    (void)QSignalSpy(reply.get(), &QNetworkReply::finished).wait(); // judged by the request
    const QString request = QString::fromLatin1(server.requests().value(0));
    static const QRegularExpression line(QStringLiteral("\r\nAccept-Encoding: ([^\r]+)\r\n"));
    return line.match(request).captured(1).toLatin1();
}

/// The one request of a session: nothing but what the toolkit itself sends.
QByteArray PlainRequest()
{
    static const QByteArray encodings = OfferedEncodings();
    return "GET " + DescriptionPath.toLatin1() +
           " HTTP/1.1\r\nHost: 127.0.0.1:" + QByteArray::number(UPDATER_PORT) +
           "\r\nContent-Length: 0\r\nConnection: Keep-Alive\r\nAccept-Encoding: " + encodings +
           "\r\nAccept-Language: en,*\r\nUser-Agent: Mozilla/5.0\r\n\r\n";
}

} // namespace

/// Every way a session can end, by the real program: what it prints, logs, starts and asks.
class tst_Outcomes : public SessionTest {
    Q_OBJECT

public:
    tst_Outcomes() : SessionTest(UPDATER_PORT) {}

private slots:
    void session_everyOutcome_isExactlyItsRow_data();
    void session_everyOutcome_isExactlyItsRow();

private:
    QString url() const { return m_server->url(DescriptionPath); }
    void addCommandRows();
    void addConfigurationRows();
    void addServerRows();
    void addConsoleDecisionRows();
    void addWindowedDecisionRows();
    static QStringList decisionLog(const QString &command, const QByteArray &json,
                                   const QStringList &further);
};

void tst_Outcomes::session_everyOutcome_isExactlyItsRow_data()
{
    QTest::addColumn<QString>("updater");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("window"); // the one that is shown, by its title
    QTest::addColumn<QString>("key");    // what the user presses there
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<QStringList>("log"); // between the start and the closing marker
    QTest::addColumn<QString>("marker");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<bool>("hostStarted");
    QTest::addColumn<QStringList>("addresses");
    QTest::addColumn<int>("requests");

    addCommandRows();
    addConfigurationRows();
    addServerRows();
    addConsoleDecisionRows();
    addWindowedDecisionRows();
}

void tst_Outcomes::addCommandRows()
{
    const QStringList restarted{QStringLiteral("D restart main: Host.exe")};
    for (const char *word : {"restart", "RESTART", "ReStart"}) {
        QTest::addRow("1 restart, as %s", word)
            << Updater << QStringList{QLatin1String(word)} << QByteArray() << NoWindow << QString()
            << QByteArray() << restarted << Marker("13") << 1 << true << QStringList() << 0;
    }
    QTest::newRow("1 restart, then console")
        << Updater << QStringList{QStringLiteral("restart"), QStringLiteral("console")}
        << QByteArray() << NoWindow << QString() << QByteArray() << restarted << Marker("13") << 1
        << true << QStringList() << 0;
}

void tst_Outcomes::addConfigurationRows()
{
    const QString error = QStringLiteral("CUpdateError");
    const QString escape = QStringLiteral("Escape");
    const QStringList console{QStringLiteral("console")};
    const QString withoutBase = QStringLiteral(UPDATER_WITHOUT_BASE_URL);
    const QString withoutDescription = QStringLiteral(UPDATER_WITHOUT_DESCRIPTION_URL);

    const QByteArray baseReport = Report(false, false, QStringLiteral("升级地址不合法:"));
    QTest::newRow("3 base URL, console")
        << withoutBase << console << QByteArray() << NoWindow << QString() << baseReport
        << QStringList{QStringLiteral("D command = console"),
                       QStringLiteral("D ") + QString::fromUtf8(baseReport)}
        << Marker("000001") << 1 << false << QStringList() << 0;
    QTest::newRow("3 base URL, windowed")
        << withoutBase << QStringList() << QByteArray() << error << escape << QByteArray()
        << QStringList{QStringLiteral("D command = ")} << Marker("000001") << 1 << true
        << QStringList() << 0;

    const QByteArray urlReport = Report(false, false, QStringLiteral("升级描述文件地址不合法:"));
    QTest::newRow("4 description URL, console")
        << withoutDescription << console << QByteArray() << NoWindow << QString() << urlReport
        << QStringList{QStringLiteral("D command = console"), QStringLiteral("D /[  url = "),
                       QStringLiteral("D ") + QString::fromUtf8(urlReport)}
        << Marker("0001") << 1 << false << QStringList() << 0;
    QTest::newRow("4 description URL, windowed")
        << withoutDescription << QStringList() << QByteArray() << error << escape << QByteArray()
        << QStringList{QStringLiteral("D command = "), QStringLiteral("D /[  url = ")}
        << Marker("3") << 1 << true << QStringList() << 0;
}

void tst_Outcomes::addServerRows()
{
    const QString error = QStringLiteral("CUpdateError");
    const QString escape = QStringLiteral("Escape");
    const QStringList console{QStringLiteral("console")};
    const QString asked = QStringLiteral("D update.json  url = ") + url();

    const QByteArray missing = ScriptedServer::answer("404 Not Found", "no");
    const QByteArray fetchReport =
        Report(false, false,
               QStringLiteral("下载升级描述文件失败:Error transferring %1 - server replied: "
                              "Not Found,status=404")
                   .arg(url()));
    QTest::newRow("5 fetch failed, console")
        << Updater << console << missing << NoWindow << QString() << fetchReport
        << QStringList{QStringLiteral("D command = console"), asked,
                       QStringLiteral("D ") + QString::fromUtf8(fetchReport)}
        << Marker("001") << 0 << false << QStringList() << 1;
    QTest::newRow("6 fetch failed, windowed")
        << Updater << QStringList() << missing << error << escape << QByteArray()
        << QStringList{QStringLiteral("D command = "), asked} << Marker("3") << 1 << true
        << QStringList() << 1;

    const QByteArray array = ScriptedServer::answer("200 OK", "[1]");
    const QString received = QStringLiteral("D update.json  content = [1]");
    const QByteArray contentReport =
        Report(false, false, QStringLiteral("升级描述文件内容不合法:[1]"));
    QTest::newRow("7 content, console")
        << Updater << console << array << NoWindow << QString() << contentReport
        << QStringList{QStringLiteral("D command = console"), asked, received,
                       QStringLiteral("D ") + QString::fromUtf8(contentReport)}
        << Marker("01") << 0 << false << QStringList() << 1;
    QTest::newRow("8 content, windowed")
        << Updater << QStringList() << array << error << escape << QByteArray()
        << QStringList{QStringLiteral("D command = "), asked, received} << Marker("3") << 1 << true
        << QStringList() << 1;
}

QStringList tst_Outcomes::decisionLog(const QString &command, const QByteArray &json,
                                      const QStringList &further)
{
    const QString url = QStringLiteral("http://127.0.0.1:%1").arg(UPDATER_PORT) + DescriptionPath;
    return QStringList{QStringLiteral("D command = ") + command,
                       QStringLiteral("D update.json  url = ") + url,
                       QStringLiteral("D update.json  content = ") + QString::fromUtf8(json)} +
           further;
}

void tst_Outcomes::addConsoleDecisionRows()
{
    const QString versions = QStringLiteral("current version:3.0.0, newest version:3.10.25");
    const QByteArray current = Json("3000000");
    const QByteArray newer = Json("3100025");
    const QByteArray notAccepted = Report(true, false, versions);
    const QByteArray accepted = Report(true, true, versions);
    const QString notAcceptedLine = QStringLiteral("D ") + QString::fromUtf8(notAccepted);
    const QString acceptedLine = QStringLiteral("D ") + QString::fromUtf8(accepted);
    for (const char *word : {"console", "CONSOLE", "Console"}) {
        const QString command = QLatin1String(word);
        QTest::addRow("9 no update needed, as %s", word)
            << Updater << QStringList{command} << ScriptedServer::answer("200 OK", current)
            << NoWindow << QString() << notAccepted
            << decisionLog(command, current, {notAcceptedLine}) << Marker("3") << 1 << false
            << QStringList() << 1;
        QTest::addRow("10 notice accepted, as %s", word)
            << Updater << QStringList{command} << ScriptedServer::answer("200 OK", newer) << Notice
            << QStringLiteral("Return") << accepted
            << decisionLog(command, newer, {OpenedLine, acceptedLine}) << Marker("1") << 0 << false
            << QStringList{Address} << 1;
        QTest::addRow("11 notice declined, as %s", word)
            << Updater << QStringList{command} << ScriptedServer::answer("200 OK", newer) << Notice
            << QStringLiteral("Escape") << notAccepted
            << decisionLog(command, newer, {notAcceptedLine}) << Marker("1") << 0 << false
            << QStringList() << 1;
    }
}

void tst_Outcomes::addWindowedDecisionRows()
{
    const QByteArray current = Json("2999999");
    const QByteArray newer = Json("3000001");
    // Only the first argument counts.
    const QList<QStringList> commandLines{{}, {QStringLiteral("x"), QStringLiteral("console")}};
    for (const QStringList &arguments : commandLines) {
        const QString command = arguments.value(0);
        const QByteArray name = arguments.join(QLatin1Char(' ')).toUtf8();
        QTest::addRow("9 no update needed, windowed %s", name.constData())
            << Updater << arguments << ScriptedServer::answer("200 OK", current) << NoWindow
            << QString() << QByteArray() << decisionLog(command, current, {}) << Marker("3") << 1
            << true << QStringList() << 1;
        QTest::addRow("10 notice accepted, windowed %s", name.constData())
            << Updater << arguments << ScriptedServer::answer("200 OK", newer) << Notice
            << QStringLiteral("Return") << QByteArray() << decisionLog(command, newer, {OpenedLine})
            << Marker("1") << 0 << false << QStringList{Address} << 1;
        QTest::addRow("11 notice declined, windowed %s", name.constData())
            << Updater << arguments << ScriptedServer::answer("200 OK", newer) << Notice
            << QStringLiteral("Escape") << QByteArray() << decisionLog(command, newer, {})
            << Marker("1") << 0 << false << QStringList() << 1;
    }
}

void tst_Outcomes::session_everyOutcome_isExactlyItsRow()
{
    QFETCH(QString, updater);
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, answer);
    QFETCH(QString, window);
    QFETCH(QString, key);
    QFETCH(QByteArray, output);
    QFETCH(QStringList, log);
    QFETCH(QString, marker);
    QFETCH(int, exitCode);
    QFETCH(bool, hostStarted);
    QFETCH(QStringList, addresses);
    QFETCH(int, requests);

    m_answers = {answer};
    const int requestsBefore = m_server->requests().size();
    HostBundle bundle(updater);
    Onlooker onlooker(bundle);
    const std::unique_ptr<QProcess> session =
        bundle.start(arguments, m_desktop->shownIn(bundle.environment()));
    if (!window.isEmpty()) {
        const QString id = m_desktop->waitForWindow(window);
        QVERIFY2(!id.isEmpty(), "the window did not come");
        QVERIFY(onlooker.attach());
        m_desktop->press(id, key);
    }
    QVERIFY(session->waitForFinished());
    QVERIFY(AwaitDescendants({m_desktop->processId()}));

    QCOMPARE(session->readAllStandardOutput(), output);
    QCOMPARE(session->exitStatus(), QProcess::NormalExit);
    QCOMPARE(session->exitCode(), exitCode);
    QCOMPARE(bundle.log(), QStringList(StartMarker) + log + QStringList(marker));
    QCOMPARE(bundle.hostStarts(),
             hostStarted ? QStringList(bundle.properHostStart(QStringLiteral("Host.exe")))
                         : QStringList());
    QCOMPARE(bundle.browserAddresses(), addresses);
    QCOMPARE(m_server->requests().size() - requestsBefore, requests);
    if (requests > 0) {
        QCOMPARE(m_server->requests().last(), PlainRequest());
    }
    if (!window.isEmpty()) {
        QCOMPARE(onlooker.record(), QByteArray("\0\0", 2));
        onlooker.detach();
    }
    QVERIFY2(!onlooker.attach(), "a segment is left");
}

QTEST_GUILESS_MAIN(tst_Outcomes)
#include "tst_outcomes.moc"
