// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/Desktop.h"
#include "tests/support/HostBundle.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

namespace {

const QString Updater = QStringLiteral(UPDATER);
const QString DescriptionPath = QStringLiteral("/public/kestrel/update/mac/update.json");
const QString Start = QStringLiteral("I ----------------更新程序启动------------------");
const QString NoWindow;

QString Marker(const char *number)
{
    return QStringLiteral("I ----------------更新程序关闭%1------------------")
        .arg(QLatin1String(number));
}

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

} // namespace

/// Every way a session can end, by the real program: what it prints, logs, starts and asks.
class tst_Outcomes : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void session_everyOutcome_isExactlyItsRow_data();
    void session_everyOutcome_isExactlyItsRow();

private:
    QString url() const { return m_server->url(DescriptionPath); }
    void addCommandRows();
    void addConfigurationRows();
    void addServerRows();
    void addDecisionRows();

    std::unique_ptr<Desktop> m_desktop;
    std::unique_ptr<ScriptedServer> m_server;
    QByteArray m_answer;
};

void tst_Outcomes::initTestCase()
{
    AdoptDescendants();
    m_desktop = std::make_unique<Desktop>();
    QVERIFY(m_desktop->isUp());
    m_server = std::make_unique<ScriptedServer>(
        [this](ScriptedConnection &connection, const QByteArray &) { connection.send(m_answer); },
        UPDATER_PORT);
}

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
    addDecisionRows();
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

void tst_Outcomes::addDecisionRows()
{
    const QString notice = QStringLiteral("CUpdateNotice");
    const QString versions = QStringLiteral("current version:3.0.0, newest version:3.10.25");
    const QString address = QStringLiteral("https://example.com/down?a=1&b=2");
    const QString opened = QStringLiteral("I 尝试打开的url： ") + address;
    const QString asked = QStringLiteral("D update.json  url = ") + url();
    const auto received = [](const QByteArray &json) {
        return QStringLiteral("D update.json  content = ") + QString::fromUtf8(json);
    };
    const auto reported = [](const QByteArray &report) {
        return QStringLiteral("D ") + QString::fromUtf8(report);
    };

    for (const char *word : {"console", "CONSOLE", "Console"}) {
        const QString command = QStringLiteral("D command = ") + QLatin1String(word);
        const QStringList arguments{QLatin1String(word)};
        const QByteArray current = Json("3000000");
        const QByteArray currentReport = Report(true, false, versions);
        QTest::addRow("9 no update needed, as %s", word)
            << Updater << arguments << ScriptedServer::answer("200 OK", current) << NoWindow
            << QString() << currentReport
            << QStringList{command, asked, received(current), reported(currentReport)}
            << Marker("3") << 1 << false << QStringList() << 1;

        const QByteArray newer = Json("3100025");
        const QByteArray acceptedReport = Report(true, true, versions);
        QTest::addRow("10 notice accepted, as %s", word)
            << Updater << arguments << ScriptedServer::answer("200 OK", newer) << notice
            << QStringLiteral("Return") << acceptedReport
            << QStringList{command, asked, received(newer), opened, reported(acceptedReport)}
            << Marker("1") << 0 << false << QStringList{address} << 1;
        const QByteArray declinedReport = Report(true, false, versions);
        QTest::addRow("11 notice declined, as %s", word)
            << Updater << arguments << ScriptedServer::answer("200 OK", newer) << notice
            << QStringLiteral("Escape") << declinedReport
            << QStringList{command, asked, received(newer), reported(declinedReport)} << Marker("1")
            << 0 << false << QStringList() << 1;
    }

    struct Mode {
        const char *name;
        QStringList arguments;
        QString command;
    };
    const QList<Mode> windowed{
        {"windowed", {}, QStringLiteral("D command = ")},
        {"console second",
         {QStringLiteral("x"), QStringLiteral("console")},
         QStringLiteral("D command = x")},
    };
    for (const Mode &mode : windowed) {
        const QByteArray current = Json("2999999");
        QTest::addRow("9 no update needed, %s", mode.name)
            << Updater << mode.arguments << ScriptedServer::answer("200 OK", current) << NoWindow
            << QString() << QByteArray() << QStringList{mode.command, asked, received(current)}
            << Marker("3") << 1 << true << QStringList() << 1;
        const QByteArray newer = Json("3000001");
        QTest::addRow("10 notice accepted, %s", mode.name)
            << Updater << mode.arguments << ScriptedServer::answer("200 OK", newer) << notice
            << QStringLiteral("Return") << QByteArray()
            << QStringList{mode.command, asked, received(newer), opened} << Marker("1") << 0
            << false << QStringList{address} << 1;
        QTest::addRow("11 notice declined, %s", mode.name)
            << Updater << mode.arguments << ScriptedServer::answer("200 OK", newer) << notice
            << QStringLiteral("Escape") << QByteArray()
            << QStringList{mode.command, asked, received(newer)} << Marker("1") << 0 << false
            << QStringList() << 1;
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

    m_answer = answer;
    const int requestsBefore = m_server->requests().size();
    HostBundle bundle(updater);
    const std::unique_ptr<QProcess> session =
        bundle.start(arguments, m_desktop->shownIn(bundle.environment()));
    if (!window.isEmpty()) {
        const QString id = m_desktop->waitForWindow(window);
        QVERIFY2(!id.isEmpty(), "the window did not come");
        m_desktop->press(id, key);
    }
    QVERIFY(session->waitForFinished());
    QVERIFY(AwaitDescendants({m_desktop->processId()}));

    QCOMPARE(session->readAllStandardOutput(), output);
    QCOMPARE(session->exitStatus(), QProcess::NormalExit);
    QCOMPARE(session->exitCode(), exitCode);
    QCOMPARE(bundle.log(), QStringList(Start) + log + QStringList(marker));
    QCOMPARE(bundle.hostStarts(),
             hostStarted ? QStringList(bundle.properHostStart(QStringLiteral("Host.exe")))
                         : QStringList());
    QCOMPARE(bundle.browserAddresses(), addresses);
    QCOMPARE(m_server->requests().size() - requestsBefore, requests);
    if (requests > 0) {
        const QByteArray request = m_server->requests().last();
        QVERIFY2(request.startsWith("GET " + DescriptionPath.toLatin1() + " HTTP/1.1\r\n"),
                 request.constData());
    }
}

QTEST_GUILESS_MAIN(tst_Outcomes)
#include "tst_outcomes.moc"
