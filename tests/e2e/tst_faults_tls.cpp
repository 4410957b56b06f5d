// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/e2e/MeasuredSession.h"
#include "tests/support/Descendants.h"
#include "tests/support/Relay.h"
#include "tests/support/ThrowAwayCa.h"

#include <QtTest>

namespace {

constexpr int QuickMs = 10000;
constexpr int DeadlineMs = 20000;
constexpr int Parts = 8;

} // namespace

/// How a session ends when TLS fails: one that trusts an authority of the test's own.
class tst_FaultsTls : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void handshake_cutInTheMiddle_isANetworkFailure_data();
    void handshake_cutInTheMiddle_isANetworkFailure();
    void certificate_changedBeforeTheRetry_isLookedAtAgain_data();
    void certificate_changedBeforeTheRetry_isLookedAtAgain();

private:
    QMap<QString, QString> environment(const Relay &relay) const;
    static QSslConfiguration certificate(ThrowAwayCa &authority)
    {
        return authority.server("IP:127.0.0.1", 2);
    }

    QTemporaryDir m_folder;
    ThrowAwayCa m_trusted;
    ThrowAwayCa m_unknown;
    const QByteArray m_answer = ScriptedServer::answer("200 OK", MeasuredDescription());
    qint64 m_whole = 0; // bytes that a server sends for a description
};

/// Finds out the size of a whole response.
void tst_FaultsTls::initTestCase()
{
    AdoptDescendants();
    QVERIFY(m_trusted.isValid() && m_unknown.isValid());
    WriteFile(m_folder.filePath(QStringLiteral("trusted.pem")), m_trusted.certificate().toPem());

    const ScriptedServer server(ScriptedServer::always(m_answer), 0, certificate(m_trusted));
    const Relay relay({server.port()});
    MeasuredSession session(QStringLiteral(SESSION_PUPPET), environment(relay));
    QCOMPARE(session.end(DeadlineMs).text(), Arrived(MeasuredDescription()).text());
    session.report(QStringLiteral("TLS"));
    m_whole = relay.passed();
}

QMap<QString, QString> tst_FaultsTls::environment(const Relay &relay) const
{
    return {{QStringLiteral("PUPPET_BASE_URL"),
             QStringLiteral("https://127.0.0.1:%1").arg(relay.port())},
            {QStringLiteral("PUPPET_DESCRIPTION"), QStringLiteral("update.json")},
            {QStringLiteral("PUPPET_CA"), m_folder.filePath(QStringLiteral("trusted.pem"))}};
}

void tst_FaultsTls::handshake_cutInTheMiddle_isANetworkFailure_data()
{
    QTest::addColumn<int>("part");
    for (int part = 0; part < Parts; ++part) {
        QTest::addRow("after %d/8 of the server's bytes", part) << part;
    }
}

void tst_FaultsTls::handshake_cutInTheMiddle_isANetworkFailure()
{
    QFETCH(int, part);
    const ScriptedServer server(ScriptedServer::always(m_answer), 0, certificate(m_trusted));
    const Relay relay({server.port()}, m_whole * part / Parts);
    MeasuredSession session(QStringLiteral(SESSION_PUPPET), environment(relay));
    QCOMPARE(session.end(DeadlineMs).text(),
             FetchFailed(QStringLiteral("Connection closed,status=0")).text());
    session.report(QStringLiteral("TLS, %1").arg(QString::fromLatin1(QTest::currentDataTag())));
    QVERIFY(session.lifetime() < QuickMs);
    QCOMPARE(session.leftFiles(), QStringList());
}

void tst_FaultsTls::certificate_changedBeforeTheRetry_isLookedAtAgain_data()
{
    QTest::addColumn<bool>("trusted");
    QTest::addColumn<QString>("lastDialog");
    QTest::newRow("of the same authority")
        << true << QStringLiteral("CUpdateNotice|[立即更新]|[以后再说]|version=发现新版本：4");
    QTest::newRow("of an unknown authority")
        << false
        << QStringLiteral("CUpdateError|[再试一次]|label=更新失败|error=下载升级描述文件失败:%1,"
                          "status=0")
               .arg(HandshakeFailure(QStringLiteral("The issuer certificate of a locally looked up "
                                                    "certificate could not be found")));
}

void tst_FaultsTls::certificate_changedBeforeTheRetry_isLookedAtAgain()
{
    QFETCH(bool, trusted);
    QFETCH(QString, lastDialog);
    const ScriptedServer first(ScriptedServer::always(ScriptedServer::answer("503 Busy", "")), 0,
                               certificate(m_trusted));
    const ScriptedServer second(ScriptedServer::always(ScriptedServer::answer(
                                    "200 OK", R"({"Version":4000000,"VersionString":"4"})")),
                                0, certificate(trusted ? m_trusted : m_unknown));
    const Relay relay({first.port(), second.port()});
    const HostBundle bundle(QStringLiteral(SESSION_PUPPET));
    const QString record = bundle.path(QStringLiteral("records/dialogs"));
    QMap<QString, QString> more = environment(relay);
    more.insert(QStringLiteral("PUPPET_ANSWERS"), QStringLiteral("retry Escape"));
    more.insert(QStringLiteral("PUPPET_RECORD"), record);
    QProcessEnvironment surroundings = bundle.environment();
    for (auto variable = more.cbegin(); variable != more.cend(); ++variable) {
        surroundings.insert(variable.key(), variable.value());
    }
    const PeakMemory memory;
    const auto session = bundle.start({}, surroundings, memory.wrapper());
    QTRY_COMPARE_WITH_TIMEOUT(session->state(), QProcess::NotRunning, DeadlineMs);
    QVERIFY(AwaitDescendants({}));

    const QString dialogs = QString::fromUtf8(ReadFile(record));
    QCOMPARE(dialogs.section(QLatin1Char('\n'), 1), lastDialog + QLatin1Char('\n'));
    QCOMPARE(session->exitCode(), trusted ? 0 : 1);
    QCOMPARE(bundle.hostStarts().size(), trusted ? 0 : 1);
    QCOMPARE(first.requests().size(), 1);
    QCOMPARE(second.requests().size(), trusted ? 1 : 0);
    qInfo("session, TLS, second certificate %s: %.1f MiB", QTest::currentDataTag(),
          memory.mebibytes());
}

QTEST_GUILESS_MAIN(tst_FaultsTls)
#include "tst_faults_tls.moc"
