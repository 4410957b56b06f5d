// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/HostBundle.h"
#include "tests/support/LogMarkers.h"
#include "tests/support/ScriptedAnswers.h"
#include "tests/support/ScriptedServer.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

namespace {

const QString ContentText = QStringLiteral("升级描述文件内容不合法:");
const QString GivenUpMarker = Marker(QStringLiteral("3"));

QString ErrorDialog(const QString &message)
{
    return QStringLiteral("CUpdateError|[再试一次]|label=更新失败|error=%1").arg(message);
}

} // namespace

/// Whole sessions with a built-in user, so that the texts of the dialogs are seen too.
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
    void fetch_systemProxy_isAsked();
    void fetch_hangingServer_isGivenUpAfterFifteenSeconds();
    void texts_goThroughTranslation_data();
    void texts_goThroughTranslation();
    void log_afterTheClosingMarker_isSilent_data();
    void log_afterTheClosingMarker_isSilent();

private:
    struct End {
        QByteArray output;
        int exitCode = -1;
        QStringList dialogs;
    };
    End run(const QStringList &arguments, const QString &answers);

    std::unique_ptr<HostBundle> m_bundle;
    std::unique_ptr<ScriptedServer> m_server;
    ScriptedAnswers m_answers;
    QString m_baseUrl;
    QString m_description;
    QMap<QString, QString> m_more; // further variables of the environment
};

void tst_Session::initTestCase()
{
    AdoptDescendants();
}

void tst_Session::init()
{
    m_answers = QList<QByteArray>();
    m_more.clear();
    m_server = std::make_unique<ScriptedServer>(
        [this](ScriptedConnection &connection, const QByteArray &) {
            const QByteArray answer = m_answers.next();
            connection.send(answer);
            if (answer.isEmpty()) {
                connection.close();
            }
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
    for (auto more = m_more.cbegin(); more != m_more.cend(); ++more) {
        environment.insert(more.key(), more.value());
    }
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
    const QByteArray deep = QByteArray(10000, '[') + QByteArray(10000, ']');
    row("nested 10,000 deep", deep, QString::fromLatin1(deep));
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

void tst_Session::fetch_systemProxy_isAsked()
{
    m_more.insert(QStringLiteral("http_proxy"), m_server->url(QString()));
    m_baseUrl = QStringLiteral("http://updates.invalid/base");
    m_answers = {ScriptedServer::answer("200 OK", "{}")};
    const End end = run({QStringLiteral("console")}, QString());
    QVERIFY2(end.output.contains(R"("success":true)"), end.output.constData());
    QCOMPARE(m_server->requests().size(), 1);
    QVERIFY(m_server->requests().first().startsWith(
        "GET http://updates.invalid/base/update.json HTTP/1.1\r\n"));
}

void tst_Session::fetch_hangingServer_isGivenUpAfterFifteenSeconds()
{
    const ScriptedServer hanging(
        [](ScriptedConnection &connection, const QByteArray &) { connection.hang(); });
    m_baseUrl = hanging.url(QStringLiteral("/base"));
    QElapsedTimer timer;
    timer.start();
    const End end = run({QStringLiteral("console")}, QString());
    const qint64 elapsed = timer.elapsed();
    QVERIFY2(elapsed > 14000 && elapsed < 25000, QByteArray::number(elapsed).constData());
    QCOMPARE(QString::fromUtf8(end.output),
             QStringLiteral(R"({"errormsg":"下载升级描述文件失败:网络超时,status=0",)"
                            R"("success":false,"update":false})"));
    QCOMPARE(end.exitCode, 0);
}

void tst_Session::texts_goThroughTranslation_data()
{
    QTest::addColumn<QString>("baseUrl"); // %1 is the server's
    QTest::addColumn<QString>("description");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("shown"); // in a dialog or the log, with its context
    const QString served = QStringLiteral("%1");
    const QString name = QStringLiteral("update.json");
    const QByteArray newer = ScriptedServer::answer(
        "200 OK", R"({"Version":9000000,"VersionString":"9","DownloadUrl":"x:"})");
    const auto row = [](const char *shown, const QString &baseUrl, const QString &description,
                        const QByteArray &answer) {
        QTest::newRow(shown) << baseUrl << description << answer << QString::fromUtf8(shown);
    };
    row("[QObject]配置错误", QString(), name, {});
    row("[QObject]升级地址不合法:", QString(), name, {});
    row("[QObject]升级描述文件地址不合法:", QStringLiteral("x:"), QStringLiteral("/["), {});
    row("[QObject]更新失败", served, name, {});
    row("[QObject]下载升级描述文件失败:", served, name, {});
    row("[QObject]升级描述文件内容不合法:", served, name, ScriptedServer::answer("200 OK", "[]"));
    row("[QApplication]----------------更新程序启动------------------", served, name, newer);
    row("[QApplication]尝试打开的url： x:", served, name, newer);
    row("[QApplication]----------------更新程序关闭1------------------", served, name, newer);
    row("[QApplication]current version:3.0.0, newest version:9", served, name, newer);
    row("[CUpdateNotice]发现新版本：9", served, name, newer);
}

void tst_Session::texts_goThroughTranslation()
{
    QFETCH(QString, baseUrl);
    QFETCH(QString, description);
    QFETCH(QByteArray, answer);
    QFETCH(QString, shown);
    m_more.insert(QStringLiteral("PUPPET_TRANSLATE"), QStringLiteral("yes"));
    m_baseUrl = baseUrl.replace(QLatin1String("%1"), m_baseUrl);
    m_description = description;
    m_answers = {answer};
    const End windowed = run({}, QStringLiteral("update"));
    const End console = run({QStringLiteral("console")}, QStringLiteral("update"));
    const QStringList all = windowed.dialogs + console.dialogs + m_bundle->log() +
                            QStringList(QString::fromUtf8(console.output));
    QVERIFY2(!all.filter(shown).isEmpty(), qPrintable(all.join(QLatin1Char('\n'))));
}

void tst_Session::log_afterTheClosingMarker_isSilent_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("windowed") << QStringList();
    QTest::newRow("console") << QStringList{QStringLiteral("console")};
    QTest::newRow("restart") << QStringList{QStringLiteral("restart")};
}

void tst_Session::log_afterTheClosingMarker_isSilent()
{
    QFETCH(QStringList, arguments);
    m_answers = {ScriptedServer::answer("200 OK", "{}")};
    run(arguments, QString());
    QVERIFY2(m_bundle->log().last().startsWith(QStringLiteral("I ----------------更新程序关闭")),
             qPrintable(m_bundle->log().join(QLatin1Char('\n'))));
    const QByteArray errors = ReadFile(m_bundle->path(QStringLiteral("records/stderr")));
    QVERIFY(errors.contains("the application object ends")); // it was printed, and not logged
}

QTEST_GUILESS_MAIN(tst_Session)
#include "tst_session.moc"
