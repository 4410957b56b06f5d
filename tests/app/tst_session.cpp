// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/HostBundle.h"
#include "tests/support/ScriptedServer.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

namespace {

const QString ContentText = QStringLiteral("升级描述文件内容不合法:");
const QString StartMarker = QStringLiteral("I ----------------更新程序启动------------------");
const QString GivenUpMarker = QStringLiteral("I ----------------更新程序关闭3------------------");

QString ErrorDialog(const QString &message)
{
    return QStringLiteral("CUpdateError|[再试一次]|label=更新失败|error=%1").arg(message);
}

} // namespace

/// Whole sessions with a user built in, so that what the dialogs say is seen too.
class tst_Session : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void dialogs_ofEveryError_sayTitleAndMessage_data();
    void dialogs_ofEveryError_sayTitleAndMessage();
    void content_notValid_isShownUpToItsFirstNul_data();
    void content_notValid_isShownUpToItsFirstNul();
    void content_huge_isReported_data();
    void content_huge_isReported();
    void notice_versions_areOfferedOrForced_data();
    void notice_versions_areOfferedOrForced();
    void retry_thenRefused_endsByTheLastFailure_data();
    void retry_thenRefused_endsByTheLastFailure();
    void retry_thenAnswered_showsNotice();
    void versionMessage_percentSigns_areKept();

private:
    struct End {
        QByteArray output;
        int exitCode = -1;
        QStringList dialogs;
    };
    End run(const QStringList &arguments, const QString &answers);

    std::unique_ptr<HostBundle> m_bundle;
    std::unique_ptr<ScriptedServer> m_server;
    QList<QByteArray> m_answers; // the last one serves all further requests
    QString m_baseUrl;
    QString m_description;
};

void tst_Session::initTestCase()
{
    AdoptDescendants();
}

void tst_Session::init()
{
    m_answers.clear();
    m_server = std::make_unique<ScriptedServer>(
        [this](ScriptedConnection &connection, const QByteArray &) {
            connection.send(m_answers.size() > 1 ? m_answers.takeFirst() : m_answers.value(0));
            connection.close();
        });
    m_bundle = std::make_unique<HostBundle>(QStringLiteral(SESSION_PUPPET));
    m_baseUrl = m_server->url(QStringLiteral("/base"));
    m_description = QStringLiteral("update.json");
}

tst_Session::End tst_Session::run(const QStringList &arguments, const QString &answers)
{
    const QString record = m_bundle->path(QStringLiteral("records/dialogs"));
    QProcessEnvironment environment = m_bundle->environment();
    environment.insert(QStringLiteral("PUPPET_BASE_URL"), m_baseUrl);
    environment.insert(QStringLiteral("PUPPET_DESCRIPTION"), m_description);
    environment.insert(QStringLiteral("PUPPET_ANSWERS"), answers);
    environment.insert(QStringLiteral("PUPPET_RECORD"), record);
    const std::unique_ptr<QProcess> session = m_bundle->start(arguments, environment);

    End end;
    if (session->waitForFinished() && session->exitStatus() == QProcess::NormalExit &&
        AwaitDescendants({})) {
        end.exitCode = session->exitCode();
    }
    end.output = session->readAllStandardOutput();
    end.dialogs = QString::fromUtf8(ReadFile(record)).split(QLatin1Char('\n'));
    end.dialogs.removeLast(); // empty behind the last line end
    return end;
}

void tst_Session::dialogs_ofEveryError_sayTitleAndMessage_data()
{
    QTest::addColumn<QString>("baseUrl"); // %1 is the server's
    QTest::addColumn<QString>("description");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("dialog"); // %1 is the server's base URL

    const QString served = QStringLiteral("%1");
    const QString name = QStringLiteral("update.json");
    QTest::newRow("base URL empty")
        << QString() << name << QByteArray()
        << QStringLiteral("CUpdateError|label=配置错误|error=升级地址不合法:");
    QTest::newRow("base URL without a host")
        << QStringLiteral("http://[x") << name << QByteArray()
        << QStringLiteral("CUpdateError|label=配置错误|error=升级地址不合法:http://[x");
    QTest::newRow("description URL")
        << QStringLiteral("x:") << QStringLiteral("/[") << QByteArray()
        << QStringLiteral("CUpdateError|label=配置错误|error=升级描述文件地址不合法:");
    QTest::newRow("fetch") << served << name << ScriptedServer::answer("404 Not Found", "")
                           << ErrorDialog(QStringLiteral(
                                  "下载升级描述文件失败:Error transferring %1/update.json - server "
                                  "replied: Not Found,status=404"));
    QTest::newRow("connection closed without an answer")
        << served << name << QByteArray()
        << ErrorDialog(QStringLiteral("下载升级描述文件失败:Connection closed,status=0"));
    QTest::newRow("content") << served << name << ScriptedServer::answer("200 OK", "null")
                             << ErrorDialog(ContentText + QStringLiteral("null"));
}

void tst_Session::dialogs_ofEveryError_sayTitleAndMessage()
{
    QFETCH(QString, baseUrl);
    QFETCH(QString, description);
    QFETCH(QByteArray, answer);
    QFETCH(QString, dialog);
    const QString server = m_baseUrl;
    m_baseUrl = baseUrl.replace(QLatin1String("%1"), server);
    m_description = description;
    m_answers = {answer};

    const End windowed = run({}, QString());
    QCOMPARE(windowed.dialogs, QStringList(dialog.replace(QLatin1String("%1"), server)));
    QCOMPARE(windowed.output, QByteArray());
    QCOMPARE(windowed.exitCode, 1);
    QCOMPARE(m_bundle->hostStarts(),
             QStringList(m_bundle->properHostStart(QStringLiteral("Host.exe"))));

    // The same message goes into the report of console mode, and no error dialog is shown.
    QVERIFY(QFile::remove(m_bundle->path(QStringLiteral("records/dialogs"))));
    m_answers = {answer};
    const End console = run({QStringLiteral("console")}, QString());
    QCOMPARE(console.dialogs, QStringList());
    const QString message = QJsonDocument::fromJson(console.output)
                                .object()
                                .value(QLatin1String("errormsg"))
                                .toString();
    QCOMPARE(message, dialog.section(QStringLiteral("|error="), 1));
}

void tst_Session::content_notValid_isShownUpToItsFirstNul_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("shown");
    const auto row = [](const char *name, const QByteArray &content, const QString &shown) {
        QTest::newRow(name) << content << shown;
    };
    row("empty", "", QString());
    row("array", "[]", QStringLiteral("[]"));
    row("HTML is shown as letters", "<b>Sign in</b> %1 &amp;",
        QStringLiteral("<b>Sign in</b> %1 &amp;"));
    row("NUL inside", QByteArray("{\"a\":\0 1}", 9), QStringLiteral("{\"a\":"));
    row("NUL in front", QByteArray("\0{}", 3), QString());
    row("invalid UTF-8", "{\"a\":\"\xff\"}", QStringLiteral("{\"a\":\"\uFFFD\"}"));
    row("Chinese", "错误", QStringLiteral("错误"));
}

void tst_Session::content_notValid_isShownUpToItsFirstNul()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, shown);
    m_answers = {ScriptedServer::answer("200 OK", content)};
    const End windowed = run({}, QString());
    QCOMPARE(windowed.dialogs, QStringList(ErrorDialog(ContentText + shown)));
    QCOMPARE(windowed.exitCode, 1);

    // The log has the body raw.
    const QString logged = QStringLiteral("D update.json  content = ") +
                           QString::fromUtf8(content.constData(), content.size());
    QCOMPARE(m_bundle->log().value(3), logged);
    QCOMPARE(m_bundle->log().last(), GivenUpMarker);

    const End console = run({QStringLiteral("console")}, QString());
    const QJsonObject report{{QStringLiteral("errormsg"), ContentText + shown},
                             {QStringLiteral("success"), false},
                             {QStringLiteral("update"), false}};
    QCOMPARE(console.output, QJsonDocument(report).toJson(QJsonDocument::Compact));
    QCOMPARE(console.exitCode, 0);
}

void tst_Session::content_huge_isReported_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("megabytes");
    QTest::newRow("50 MB of blanks, console") << QStringList{QStringLiteral("console")} << 50;
    QTest::newRow("5 MB of blanks, windowed") << QStringList() << 5;
}

void tst_Session::content_huge_isReported()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, megabytes);
    const int size = megabytes * 1024 * 1024;
    m_answers = {ScriptedServer::answer("200 OK", QByteArray(size, ' '))};
    const End end = run(arguments, QString());
    if (arguments.isEmpty()) {
        QCOMPARE(end.dialogs.size(), 1);
        QCOMPARE(end.exitCode, 1);
    } else {
        const QByteArray head = R"({"errormsg":")" + ContentText.toUtf8();
        QVERIFY(end.output.startsWith(head));
        QVERIFY(end.output.endsWith(R"( ","success":false,"update":false})"));
        QVERIFY(end.output.size() > size);
        QCOMPARE(end.exitCode, 0);
    }
}

void tst_Session::notice_versions_areOfferedOrForced_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("dialog");
    const QString optional =
        QStringLiteral("CUpdateNotice|[立即更新]|[以后再说]|version=发现新版本：");
    const QString forced = QStringLiteral("CUpdateNotice|[立即更新]|version=发现新版本：");
    QTest::newRow("optional")
        << QByteArray(R"({"Version":6000000,"VersionString":"6","MinVersion":4999999})")
        << optional + QLatin1Char('6');
    QTest::newRow("forced")
        << QByteArray(R"({"Version":6000000,"VersionString":"6","MinVersion":5000000})")
        << forced + QLatin1Char('6');
    QTest::newRow("markup in the version is shown as letters")
        << QByteArray(R"({"Version":6000000,"VersionString":"<b>6</b>&amp;%1"})")
        << optional + QStringLiteral("<b>6</b>&amp;%1");
    QTest::newRow("no version text") << QByteArray(R"({"Version":6000000})") << optional;
}

void tst_Session::notice_versions_areOfferedOrForced()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, dialog);
    m_bundle->setVersion(QStringLiteral("5.0.0"));
    m_answers = {ScriptedServer::answer("200 OK", content)};
    const End end = run({}, QString());
    QCOMPARE(end.dialogs, QStringList(dialog));
    QCOMPARE(end.exitCode, 0);
    QCOMPARE(m_bundle->hostStarts(), QStringList());
}

void tst_Session::retry_thenRefused_endsByTheLastFailure_data()
{
    QTest::addColumn<QList<QByteArray>>("answers");
    QTest::addColumn<QString>("lastDialog");
    const QByteArray failure = ScriptedServer::answer("500 No", "");
    const QByteArray rubbish = ScriptedServer::answer("200 OK", "rubbish");
    QTest::newRow("content last") << QList<QByteArray>{failure, rubbish, failure, rubbish}
                                  << ErrorDialog(ContentText + QStringLiteral("rubbish"));
    QTest::newRow("fetch last") << QList<QByteArray>{rubbish, failure, rubbish, failure}
                                << ErrorDialog(QStringLiteral(
                                       "下载升级描述文件失败:Error transferring %1/update.json - "
                                       "server replied: No,status=500"));
}

void tst_Session::retry_thenRefused_endsByTheLastFailure()
{
    QFETCH(QList<QByteArray>, answers);
    QFETCH(QString, lastDialog);
    m_answers = answers;
    const End end = run({}, QStringLiteral("retry Return retry Escape"));
    QCOMPARE(end.dialogs.size(), 4);
    QCOMPARE(end.dialogs.last(), lastDialog.replace(QLatin1String("%1"), m_baseUrl));
    QCOMPARE(end.exitCode, 1);
    QCOMPARE(m_server->requests().size(), 4);
    QCOMPARE(m_server->connections(), 4);
    QCOMPARE(m_bundle->hostStarts().size(), 1);

    const QStringList log = m_bundle->log();
    QCOMPARE(log.first(), StartMarker);
    QCOMPARE(log.filter(QStringLiteral(" url = ")).size(), 4);
    QCOMPARE(log.last(), GivenUpMarker);
}

void tst_Session::retry_thenAnswered_showsNotice()
{
    m_answers = {
        ScriptedServer::answer("503 Busy", ""),
        ScriptedServer::answer("200 OK", R"({"Version":3000001,"VersionString":"3.0.1"})")};
    const End end = run({}, QStringLiteral("retry skip"));
    QCOMPARE(end.dialogs.size(), 2);
    QCOMPARE(end.dialogs.last(),
             QStringLiteral("CUpdateNotice|[立即更新]|[以后再说]|version=发现新版本：3.0.1"));
    QCOMPARE(end.exitCode, 0);
    QCOMPARE(m_bundle->hostStarts(), QStringList());
}

void tst_Session::versionMessage_percentSigns_areKept()
{
    m_bundle->setVersion(QStringLiteral("3.%2.%1"));
    m_answers = {ScriptedServer::answer("200 OK", R"({"VersionString":"%1 %2 \"x\""})")};
    const End end = run({QStringLiteral("console")}, QString());
    QCOMPARE(end.output, QByteArray(R"({"errormsg":"current version:3.%2.%1, newest version:)"
                                    R"(%1 %2 \"x\"","success":true,"update":false})"));
}

QTEST_GUILESS_MAIN(tst_Session)
#include "tst_session.moc"
