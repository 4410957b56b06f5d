// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/HostBundle.h"
#include "tests/support/LogMarkers.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

/// The order of everything a session does that is visible from outside.
class tst_SessionOrder : public QObject {
    Q_OBJECT

private slots:
    static void session_everyOutcome_keepsItsOrder_data();
    static void session_everyOutcome_keepsItsOrder();
    static void downloadUrl_isReadTolerantly_data();
    static void downloadUrl_isReadTolerantly();
};

namespace {

const QStringList Windowed;
const QStringList Console{QStringLiteral("console")};

QByteArray Newer(const QByteArray &downloadUrl)
{
    return R"({"Version":9000000,"VersionString":"9","DownloadUrl":")" + downloadUrl + "\"}";
}

/// The log of a session from the first line after its start-up.
QStringList Run(const QByteArray &body, const QStringList &arguments,
                const QMap<QString, QString> &variables)
{
    const ScriptedServer server(ScriptedServer::always(ScriptedServer::answer("200 OK", body)));
    const HostBundle bundle(QStringLiteral(ORDER_PUPPET));
    QProcessEnvironment environment = bundle.environment();
    environment.insert(QStringLiteral("PUPPET_BASE_URL"), server.url(QStringLiteral("/base")));
    for (auto variable = variables.cbegin(); variable != variables.cend(); ++variable) {
        environment.insert(variable.key(), variable.value());
    }
    const std::unique_ptr<QProcess> session = bundle.start(arguments, environment);
    if (!session->waitForFinished() || session->exitStatus() != QProcess::NormalExit) {
        return {QStringLiteral("the session did not end well")};
    }
    // What it requests and receives does not matter here.
    QStringList log;
    const QStringList lines = bundle.log();
    for (const QString &line : lines) {
        if (line.startsWith(QStringLiteral("I "))) {
            log << line;
        }
    }
    return log.mid(1);
}

} // namespace

void tst_SessionOrder::session_everyOutcome_keepsItsOrder_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("variable"); // one of the environment, as NAME=VALUE
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QStringList>("log");
    const QByteArray newer = Newer("https://x/");
    const QString running = QStringLiteral("PUPPET_RUNNING=yes");
    const QString noBase = QStringLiteral("PUPPET_BASE_URL=");
    const QString accept = QStringLiteral("PUPPET_ANSWER=accept");
    const auto row = [](const char *name, const QStringList &arguments, const QString &variable,
                        const QByteArray &body, const QStringList &log) {
        QTest::newRow(name) << arguments << variable << body << log;
    };
    const QString claim = QStringLiteral("I claim");
    const QString host = QStringLiteral("I host Host.exe");
    const QString opens = QStringLiteral("I 尝试打开的url： https://x/");
    const QString browser = QStringLiteral("I browser https://x/");
    const auto report = [](const char *flags) {
        return QStringLiteral("I report %1 current version:3.0.0, newest version:")
            .arg(QLatin1String(flags));
    };
    row("1 restart", {QStringLiteral("restart")}, {}, {}, {host, Marker("13")});
    row("2 running, console", Console, running, {},
        {claim, QStringLiteral("I read"), QStringLiteral("I report true true 升级程序已运行"),
         Marker("12")});
    row("2 running, windowed", Windowed, running, {},
        {claim, QStringLiteral("I dialog 启动 升级程序已运行 false"), host, Marker("12")});
    row("3 base URL, windowed", Windowed, noBase, {},
        {claim, QStringLiteral("I dialog 配置错误 升级地址不合法: false"), host, Marker("000001")});
    row("8 content, windowed", Windowed, {}, "[]",
        {claim, QStringLiteral("I dialog 更新失败 升级描述文件内容不合法:[] true"), host,
         Marker("3")});
    row("9 no update needed, console", Console, {}, "{}",
        {claim, QStringLiteral("I write true false"), report("true false"), Marker("3")});
    row("9 no update needed, windowed", Windowed, {}, "{}",
        {claim, QStringLiteral("I write true false"), host, Marker("3")});
    row("10 notice accepted, console", Console, accept, newer,
        {claim, opens, browser, report("true true") + QLatin1Char('9'), Marker("1")});
    row("10 notice accepted, windowed", Windowed, accept, newer,
        {claim, opens, browser, Marker("1")});
    row("11 notice declined, console", Console, {}, newer,
        {claim, report("true false") + QLatin1Char('9'), Marker("1")});
}

void tst_SessionOrder::session_everyOutcome_keepsItsOrder()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, variable);
    QFETCH(QByteArray, body);
    QFETCH(QStringList, log);
    QMap<QString, QString> variables;
    if (!variable.isEmpty()) {
        variables.insert(variable.section(QLatin1Char('='), 0, 0),
                         variable.section(QLatin1Char('='), 1));
    }
    QCOMPARE(Run(body, arguments, variables), log);
}

void tst_SessionOrder::downloadUrl_isReadTolerantly_data()
{
    QTest::addColumn<QByteArray>("published");
    QTest::addColumn<QString>("opened");
    const auto row = [](const char *rule, const QByteArray &published, const char *opened) {
        QTest::newRow(rule) << published << QString::fromUtf8(opened);
    };
    row("as it should be", "https://x/?a=1&b=%20#c", "https://x/?a=1&b=%20#c");
    row("blanks", "https://x/a b", "https://x/a%20b");
    row("lone percent sign", "https://x/100%", "https://x/100%25");
    row("signs that belong encoded", "https://x/\\\"{|}", "https://x/%22%7B%7C%7D");
    row("Chinese letters", "https://x/更新", "https://x/%E6%9B%B4%E6%96%B0");
}

void tst_SessionOrder::downloadUrl_isReadTolerantly()
{
    QFETCH(QByteArray, published);
    QFETCH(QString, opened);
    const QStringList log = Run(Newer(published), Windowed,
                                {{QStringLiteral("PUPPET_ANSWER"), QStringLiteral("accept")}});
    QCOMPARE(log.filter(QStringLiteral("I browser")),
             QStringList(QStringLiteral("I browser ") + opened));
}

QTEST_GUILESS_MAIN(tst_SessionOrder)
#include "tst_session_order.moc"
