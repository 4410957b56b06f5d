// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/HostBundle.h"
#include "tests/support/LogMarkers.h"
#include "tests/support/ScriptedServer.h"

#include <QDir>
#include <QSharedMemory>
#include <QtTest>

namespace {

const QString Restart = QStringLiteral("restart");

/// A segment like that of another session in the same folder.
class RunningSession {
public:
    explicit RunningSession(const QString &folder)
        : m_segment(folder + QStringLiteral("update_singleton"))
    {
        if (!m_segment.create(2)) {
            qFatal("The test's segment cannot be made.");
        }
    }

private:
    QSharedMemory m_segment;
};

} // namespace

/// Which host a session starts, from where and whether at all, tested by sessions with a built-in
/// user who gives up at every dialog.
class tst_SessionHost : public QObject {
    Q_OBJECT

private slots:
    static void initTestCase();
    void init();
    void emptyName_everyOutcome_startsNoProcess_data();
    void emptyName_everyOutcome_startsNoProcess();
    void missingHost_isTriedOnce();
    void host_isStartedInTheSessionsFolder();
    void folderNamedBin_keepsItsOwnConfigurationHostAndGuard();

private:
    void run(const QStringList &arguments = {});

    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<HostBundle> m_bundle;
    QString m_baseUrl;
    QString m_description;
    int m_exitCode = -1;
    int m_processes = -1; // that the session has started
};

void tst_SessionHost::initTestCase()
{
    AdoptDescendants();
}

void tst_SessionHost::init()
{
    m_server = std::make_unique<ScriptedServer>(
        ScriptedServer::always(ScriptedServer::answer("200 OK", "{}")));
    m_bundle = std::make_unique<HostBundle>(QStringLiteral(SESSION_PUPPET));
    m_baseUrl = m_server->url(QStringLiteral("/base"));
    m_description = QStringLiteral("update.json");
}

void tst_SessionHost::run(const QStringList &arguments)
{
    QProcessEnvironment environment = m_bundle->environment();
    environment.insert(QStringLiteral("PUPPET_BASE_URL"), m_baseUrl);
    environment.insert(QStringLiteral("PUPPET_DESCRIPTION"), m_description);
    const std::unique_ptr<QProcess> session = m_bundle->start(arguments, environment);
    m_exitCode = -1;
    if (session->waitForFinished() && session->exitStatus() == QProcess::NormalExit) {
        m_exitCode = session->exitCode();
    }
    m_processes = CountDescendants({});
    QVERIFY(AwaitDescendants({}));
}

void tst_SessionHost::emptyName_everyOutcome_startsNoProcess_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("baseUrl"); // null: the server's
    QTest::addColumn<QString>("description");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<bool>("running");
    QTest::addColumn<QString>("marker");
    const QString served;
    const QString name = QStringLiteral("update.json");
    const QByteArray none;
    QTest::newRow("1 restart") << Restart << served << name << none << false << Marker("13");
    QTest::newRow("2 running") << QString() << served << name << none << true << Marker("12");
    QTest::newRow("3 base URL") << QString() << QStringLiteral("") << name << none << false
                                << Marker("000001");
    QTest::newRow("4 description URL") << QString() << QStringLiteral("x:") << QStringLiteral("/[")
                                       << none << false << Marker("3");
    QTest::newRow("6 fetch") << QString() << served << name << ScriptedServer::answer("404 No", "")
                             << false << Marker("3");
    QTest::newRow("8 content") << QString() << served << name
                               << ScriptedServer::answer("200 OK", "[]") << false << Marker("3");
    QTest::newRow("9 no update needed")
        << QString() << served << name << ScriptedServer::answer("200 OK", "{}") << false
        << Marker("3");
}

void tst_SessionHost::emptyName_everyOutcome_startsNoProcess()
{
    QFETCH(QString, argument);
    QFETCH(QString, baseUrl);
    QFETCH(QString, description);
    QFETCH(QByteArray, answer);
    QFETCH(bool, running);
    QFETCH(QString, marker);
    m_server = std::make_unique<ScriptedServer>(ScriptedServer::always(answer));
    m_baseUrl = baseUrl.isNull() ? m_server->url(QStringLiteral("/base")) : baseUrl;
    m_description = description;
    m_bundle->writeConfig("ExeName=\n");
    std::unique_ptr<RunningSession> other;
    if (running) {
        other = std::make_unique<RunningSession>(m_bundle->macOsDir());
    }

    run(argument.isEmpty() ? QStringList() : QStringList(argument));

    QCOMPARE(m_bundle->log().last(), marker);
    QCOMPARE(m_exitCode, 1);
    QCOMPARE(m_processes, 0);
    QCOMPARE(m_bundle->hostStarts(), QStringList());
}

// A failed start is a process too, so the count above includes it.
void tst_SessionHost::missingHost_isTriedOnce()
{
    m_bundle->writeConfig("ExeName=Missing\n");
    run({Restart});
    QCOMPARE(m_processes, 1);
    QCOMPARE(m_exitCode, 1);
}

void tst_SessionHost::host_isStartedInTheSessionsFolder()
{
    run({Restart});
    QCOMPARE(m_bundle->hostFolders(),
             QStringList(QDir(m_bundle->path(QStringLiteral("work"))).canonicalPath()));
}

void tst_SessionHost::folderNamedBin_keepsItsOwnConfigurationHostAndGuard()
{
    m_bundle =
        std::make_unique<HostBundle>(QStringLiteral(SESSION_PUPPET), QStringLiteral("app/bin"));
    const QString right = QStringLiteral("Right");
    m_bundle->addHost(right);
    m_bundle->addHost(QStringLiteral("Wrong"));
    m_bundle->writeConfig("ExeName=Right\n");
    WriteFile(m_bundle->path(QStringLiteral("app/system.cfg")), "ExeName=Wrong\n");

    // A guard of the parent folder belongs to another installation.
    const RunningSession above(m_bundle->path(QStringLiteral("app")));
    run();
    QCOMPARE(m_bundle->log().last(), Marker("3"));
    QCOMPARE(m_bundle->hostStarts(), QStringList(m_bundle->properHostStart(right)));

    const RunningSession here(m_bundle->macOsDir());
    run();
    QCOMPARE(m_bundle->log().last(), Marker("12"));
    QCOMPARE(m_bundle->hostStarts().size(), 2);
}

QTEST_GUILESS_MAIN(tst_SessionHost)
#include "tst_session_host.moc"
