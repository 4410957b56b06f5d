// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/HostBundle.h"
#include "tests/support/LogMarkers.h"
#include "tests/support/ScriptedServer.h"

#include <QtTest>

#include <atomic>

namespace {

const QStringList Console{QStringLiteral("console")};
const QByteArray NoUpdate =
    R"({"errormsg":"current version:3.0.0, newest version:","success":true,"update":false})";
const QString LastLine = Marker("3");

} // namespace

/// The real program where the home, the configuration or the standard streams are not as they
/// should be.
class tst_Surroundings : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void streams_closedOrGone_changeNothing_data();
    void streams_closedOrGone_changeNothing();
    void streams_closed_areTheNullDevice();
    void host_missing_changesNothing();
    void host_names_areStarted_data();
    void host_names_areStarted();
    void host_emptyName_isNeverStarted_data();
    void host_emptyName_isNeverStarted();
    void home_dataDirIsFile_usesDottedPath();
    void home_cannotHoldDataDir_usesWorkingDirectory();
    void home_withChineseLetters_holdsTheLog();
    void log_folderIsFile_goesToDataDir();
    void infoPlist_missing_countsAsVersionZero();
    void config_unusable_startsTheDefaultHost_data();
    void config_unusable_startsTheDefaultHost();
    void updateFolder_isFile_changesNothing();

private:
    QByteArray run(const QStringList &arguments);
    QByteArray shell(const QString &redirection);

    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<HostBundle> m_bundle;
    int m_exitCode = -1;
    std::atomic<bool> m_hold{false}; // whether the server lets a session wait
};

void tst_Surroundings::initTestCase()
{
    AdoptDescendants();
    m_server = std::make_unique<ScriptedServer>(
        [this](ScriptedConnection &connection, const QByteArray &) {
            while (m_hold) {
                connection.pause(2);
            }
            connection.send(ScriptedServer::answer("200 OK", "{}"));
        },
        UPDATER_PORT);
}

void tst_Surroundings::init()
{
    m_bundle = std::make_unique<HostBundle>(QStringLiteral(UPDATER));
}

QByteArray tst_Surroundings::run(const QStringList &arguments)
{
    const auto session = m_bundle->start(arguments, m_bundle->environment());
    m_exitCode = session->waitForFinished() && AwaitDescendants({}) ? session->exitCode() : -1;
    return session->readAllStandardOutput();
}

/// Runs a console session from a shell; $? of the session is the last line.
QByteArray tst_Surroundings::shell(const QString &redirection)
{
    QProcess shell;
    shell.setProcessEnvironment(m_bundle->environment());
    shell.setWorkingDirectory(m_bundle->path(QStringLiteral("work")));
    shell.start(
        QStringLiteral("bash"),
        {QStringLiteral("-c"), QStringLiteral("set -o pipefail; '%1' console %2; echo \"exit=$?\"")
                                   .arg(m_bundle->updaterPath(), redirection)});
    return shell.waitForFinished() ? shell.readAllStandardOutput() : QByteArray();
}

void tst_Surroundings::streams_closedOrGone_changeNothing_data()
{
    QTest::addColumn<QString>("redirection");
    QTest::addColumn<QByteArray>("output");
    QTest::newRow("standard output closed") << QStringLiteral(">&-") << QByteArray();
    QTest::newRow("standard input closed") << QStringLiteral("<&-") << NoUpdate;
    QTest::newRow("standard error closed") << QStringLiteral("2>&-") << NoUpdate;
    QTest::newRow("all closed") << QStringLiteral("<&- >&- 2>&-") << QByteArray();
    // The reader ends at once; the status of the pipe is the session's.
    QTest::newRow("reader gone") << QStringLiteral("2>&1 | :") << QByteArray();
}

void tst_Surroundings::streams_closedOrGone_changeNothing()
{
    QFETCH(QString, redirection);
    QFETCH(QByteArray, output);
    QCOMPARE(shell(redirection), output + "exit=1\n");
    QCOMPARE(m_bundle->log().last(), LastLine);
}

// Our choice: closed streams are opened on the null device.
void tst_Surroundings::streams_closed_areTheNullDevice()
{
    m_hold = true;
    const int before = m_server->requests().size();
    ChildProcess session; // the shell executes the updater in its place
    session.setProcessEnvironment(m_bundle->environment());
    session.start(QStringLiteral("sh"),
                  {QStringLiteral("-c"),
                   QStringLiteral("exec '%1' console <&- >&- 2>&-").arg(m_bundle->updaterPath())});
    const bool asks = QTest::qWaitFor([&] { return m_server->requests().size() > before; }, 10000);
    QStringList streams;
    for (const char *stream : {"0", "1", "2"}) {
        streams.append(QFile::symLinkTarget(
            QStringLiteral("/proc/%1/fd/%2")
                .arg(QString::number(session.processId()), QLatin1String(stream))));
    }
    m_hold = false;
    QVERIFY(asks);
    QVERIFY(session.waitForFinished());
    const QString null = QStringLiteral("/dev/null");
    QCOMPARE(streams, QStringList({null, null, null}));
}

void tst_Surroundings::host_missing_changesNothing()
{
    m_bundle->writeConfig("ExeName=Missing\n");
    QCOMPARE(run({}), QByteArray());
    QCOMPARE(m_exitCode, 1);
    QCOMPARE(m_bundle->log().last(), LastLine);
    QCOMPARE(m_bundle->hostStarts(), QStringList());
}

void tst_Surroundings::host_names_areStarted_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << QStringLiteral("Kestrel");
    QTest::newRow("blanks") << QStringLiteral("My Host App");
    QTest::newRow("Chinese") << QStringLiteral("红隼");
}

void tst_Surroundings::host_names_areStarted()
{
    QFETCH(QString, name);
    m_bundle->addHost(name);
    m_bundle->writeConfig("ExeName=" + name.toUtf8() + "\n");
    run({});
    QCOMPARE(m_bundle->hostStarts(), QStringList(m_bundle->properHostStart(name)));

    // An absolute name stays as it is.
    m_bundle->writeConfig("ExeName=" + m_bundle->macOsDir().toUtf8() + "/" + name.toUtf8() + "\n");
    run({QStringLiteral("restart")});
    const QString start = m_bundle->properHostStart(name);
    QCOMPARE(m_bundle->hostStarts(), QStringList({start, start}));
}

void tst_Surroundings::host_emptyName_isNeverStarted_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("restart") << QStringList{QStringLiteral("restart")};
    QTest::newRow("windowed") << QStringList();
}

void tst_Surroundings::host_emptyName_isNeverStarted()
{
    QFETCH(QStringList, arguments);
    m_bundle->writeConfig("ExeName=\n");
    run(arguments);
    QCOMPARE(m_exitCode, 1);
    QCOMPARE(m_bundle->hostStarts(), QStringList());
}

void tst_Surroundings::home_dataDirIsFile_usesDottedPath()
{
    WriteFile(m_bundle->dataDir(), "mine");
    QCOMPARE(run(Console), NoUpdate);
    QCOMPARE(m_exitCode, 1);
    QCOMPARE(ReadFile(m_bundle->dataDir()), QByteArray("mine"));
    // One '.' before the whole path makes it relative to the working directory.
    const QDir dotted(m_bundle->path(QStringLiteral("work/.")) + m_bundle->dataDir());
    QCOMPARE(dotted.entryList(QDir::Dirs | QDir::NoDotAndDotDot),
             QStringList({QStringLiteral("Log"), QStringLiteral("update")}));
}

void tst_Surroundings::home_cannotHoldDataDir_usesWorkingDirectory()
{
    // Nobody, not even root, can make a folder below a file.
    const QString home = m_bundle->path(QStringLiteral("home-is-a-file"));
    WriteFile(home, "mine");
    QProcessEnvironment environment = m_bundle->environment();
    environment.insert(QStringLiteral("HOME"), home);
    const auto session = m_bundle->start(Console, environment);
    QVERIFY(session->waitForFinished());
    QCOMPARE(session->readAllStandardOutput(), NoUpdate);
    QCOMPARE(session->exitCode(), 1);
    const QDir dotted(m_bundle->path(QStringLiteral("work/.")) + home +
                      QStringLiteral("/.com.example.kestrel"));
    QVERIFY(dotted.exists(QStringLiteral("Log")));
}

void tst_Surroundings::home_withChineseLetters_holdsTheLog()
{
    const QString home = m_bundle->path(QStringLiteral("家 目录"));
    QVERIFY(QDir().mkdir(home));
    QProcessEnvironment environment = m_bundle->environment();
    environment.insert(QStringLiteral("HOME"), home);
    const auto session = m_bundle->start(Console, environment);
    QVERIFY(session->waitForFinished());
    QCOMPARE(session->readAllStandardOutput(), NoUpdate);
    const QDir log(home + QStringLiteral("/.com.example.kestrel/Log"));
    QCOMPARE(log.entryList({QStringLiteral("*.log")}, QDir::Files).size(), 1);
}

void tst_Surroundings::log_folderIsFile_goesToDataDir()
{
    QVERIFY(QDir().mkpath(m_bundle->dataDir()));
    WriteFile(m_bundle->dataDir() + QStringLiteral("/Log"), "mine");
    QCOMPARE(run(Console), NoUpdate);
    QCOMPARE(ReadFile(m_bundle->dataDir() + QStringLiteral("/Log")), QByteArray("mine"));
    const QDir dataDir(m_bundle->dataDir());
    QCOMPARE(dataDir.entryList({QStringLiteral("*.log")}, QDir::Files).size(), 1);
}

void tst_Surroundings::infoPlist_missing_countsAsVersionZero()
{
    QVERIFY(QFile::remove(m_bundle->path(QStringLiteral("X.app/Contents/Info.plist"))));
    QCOMPARE(run(Console), QByteArray(NoUpdate).replace("3.0.0", ""));
    QVERIFY(QFileInfo(m_bundle->home() + QStringLiteral("/.(null)/Log")).isDir());
}

void tst_Surroundings::config_unusable_startsTheDefaultHost_data()
{
    QTest::addColumn<QByteArray>("config"); // null: a directory in its place
    QTest::newRow("directory") << QByteArray();
    QTest::newRow("rubbish") << QByteArray("\x00\xff\xfe]]][[=\n\x01", 11);
}

void tst_Surroundings::config_unusable_startsTheDefaultHost()
{
    QFETCH(QByteArray, config);
    if (config.isNull()) {
        QVERIFY(QDir(m_bundle->macOsDir()).mkdir(QStringLiteral("system.cfg")));
    } else {
        m_bundle->writeConfig(config);
    }
    run({});
    QCOMPARE(m_exitCode, 1);
    QCOMPARE(m_bundle->hostStarts(),
             QStringList(m_bundle->properHostStart(QStringLiteral("Host.exe"))));
}

void tst_Surroundings::updateFolder_isFile_changesNothing()
{
    QVERIFY(QDir().mkpath(m_bundle->dataDir()));
    const QString updateDir = m_bundle->dataDir() + QStringLiteral("/update");
    WriteFile(updateDir, "mine");
    QCOMPARE(run(Console), NoUpdate);
    QCOMPARE(m_exitCode, 1);
    QCOMPARE(ReadFile(updateDir), QByteArray("mine"));
    QCOMPARE(m_bundle->log().last(), LastLine);
}

QTEST_GUILESS_MAIN(tst_Surroundings)
#include "tst_surroundings.moc"
