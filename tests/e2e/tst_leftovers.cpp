// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"
#include "tests/support/HostBundle.h"
#include "tests/support/ScriptedServer.h"

#include <QDate>
#include <QDir>
#include <QtTest>

#include <unistd.h>

namespace {

const QByteArray NoUpdate =
    R"({"errormsg":"current version:3.0.0, newest version:","success":true,"update":false})";
const QByteArray FirstWords = " I] unknown:0 - ----------------更新程序启动------------------\n";
const QByteArray LastWords = " I] unknown:0 - ----------------更新程序关闭3------------------\n";

/// Today's and tomorrow's log, so that midnight may come at any time.
QStringList LogNames()
{
    const QDate today = QDate::currentDate();
    return {today.toString(QStringLiteral("'Log/'yyyy-MM-dd'.log'")),
            today.addDays(1).toString(QStringLiteral("'Log/'yyyy-MM-dd'.log'"))};
}

} // namespace

/// Sessions of the real program that find what a power loss or a full disk left in the data
/// directory. Whatever it is, the session works.
class tst_Leftovers : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void log_damaged_isAppendedTo_data();
    void log_damaged_isAppendedTo();
    void path_inTheWay_changesNothing_data();
    void path_inTheWay_changesNothing();
    void path_readOnly_changesNothing_data();
    void path_readOnly_changesNothing();

private:
    void runAndCompare(const QStringList &wrapper = {});
    QString data(const QString &name) const;

    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<HostBundle> m_bundle;
    QProcessEnvironment m_environment;
};

void tst_Leftovers::initTestCase()
{
    AdoptDescendants();
    m_server = std::make_unique<ScriptedServer>(
        ScriptedServer::always(ScriptedServer::answer("200 OK", "{}")), UPDATER_PORT);
}

void tst_Leftovers::init()
{
    m_bundle = std::make_unique<HostBundle>(QStringLiteral(UPDATER));
    m_environment = m_bundle->environment();
    QVERIFY(QDir().mkpath(m_bundle->dataDir()));
}

QString tst_Leftovers::data(const QString &name) const
{
    return QDir(m_bundle->dataDir()).filePath(name);
}

/// Runs a session in each mode and compares their visible behaviour.
void tst_Leftovers::runAndCompare(const QStringList &wrapper)
{
    for (const QStringList &arguments : {QStringList(), QStringList{QStringLiteral("console")}}) {
        const auto session = m_bundle->start(arguments, m_environment, wrapper);
        QVERIFY(session->waitForFinished());
        QVERIFY(AwaitDescendants({}));
        QCOMPARE(session->exitStatus(), QProcess::NormalExit);
        QCOMPARE(session->readAllStandardOutput(), arguments.isEmpty() ? QByteArray() : NoUpdate);
        QCOMPARE(session->exitCode(), 1);
    }
    QCOMPARE(m_bundle->hostStarts().size(), 1);
}

void tst_Leftovers::log_damaged_isAppendedTo_data()
{
    QTest::addColumn<QByteArray>("left");
    QTest::newRow("zero length") << QByteArray("");
    QTest::newRow("one block of NULs") << QByteArray(4096, '\0');
    QTest::newRow("line cut in the middle") << QByteArray("[2024-03-07 12:00:00.0");
    QTest::newRow("letter cut in the middle") << QByteArray("[2024-03-07 12:00:00.000 I] \xE6\x9B");
    QTest::newRow("line that ends in NULs") << "[2024-03-07 12:00" + QByteArray(495, '\0');
    QTest::newRow("bytes of another file") << QByteArray("\x7f"
                                                         "ELF\x02\x01\xff\xfe\r\r\n\x1b[2J",
                                                         16);
    QTest::newRow("no line end in 1 MiB") << QByteArray(1 << 20, '\xff');
}

void tst_Leftovers::log_damaged_isAppendedTo()
{
    QFETCH(QByteArray, left);
    const QStringList names = LogNames();
    for (const QString &name : names) {
        WriteFile(data(name), left);
    }
    runAndCompare();
    QByteArray written;
    for (const QString &name : names) {
        const QByteArray content = ReadFile(data(name));
        QVERIFY(content.startsWith(left));
        written += content.mid(left.size());
    }
    QCOMPARE(written.count(FirstWords), 2);
    QCOMPARE(written.count(LastWords), 2);
    QVERIFY(written.endsWith(LastWords));
}

void tst_Leftovers::path_inTheWay_changesNothing_data()
{
    QTest::addColumn<QStringList>("names"); // in the data directory; empty: itself
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"file", "folder", "link to nowhere", "link to itself"}) {
        const QString text = QLatin1String(kind);
        QTest::addRow("day's log is a %s", kind) << LogNames() << text;
        QTest::addRow("Log is a %s", kind) << QStringList{QStringLiteral("Log")} << text;
        QTest::addRow("update is a %s", kind) << QStringList{QStringLiteral("update")} << text;
        QTest::addRow("data directory is a %s", kind) << QStringList{QString()} << text;
    }
}

void tst_Leftovers::path_inTheWay_changesNothing()
{
    QFETCH(QStringList, names);
    QFETCH(QString, kind);
    for (const QString &name : qAsConst(names)) {
        const QString path = name.isEmpty() ? m_bundle->dataDir() : data(name);
        if (name.isEmpty()) {
            QVERIFY(QDir().rmdir(path));
        }
        QVERIFY(QDir().mkpath(QFileInfo(path).path()));
        if (kind == QLatin1String("file")) {
            WriteFile(path, "left");
        } else if (kind == QLatin1String("folder")) {
            QVERIFY(QDir().mkdir(path));
        } else {
            const bool nowhere = kind == QLatin1String("link to nowhere");
            QVERIFY(QFile::link(nowhere ? QStringLiteral("/nowhere/at all") : path, path));
        }
    }
    runAndCompare();
}

void tst_Leftovers::path_readOnly_changesNothing_data()
{
    QTest::addColumn<QStringList>("folders"); // in the data directory
    QTest::addColumn<QStringList>("files");
    QTest::newRow("data directory") << QStringList{QStringLiteral(".")} << QStringList();
    QTest::newRow("Log") << QStringList{QStringLiteral("Log")} << QStringList();
    QTest::newRow("day's log") << QStringList() << LogNames();
    QTest::newRow("update") << QStringList{QStringLiteral("update")} << QStringList();
}

void tst_Leftovers::path_readOnly_changesNothing()
{
    QFETCH(QStringList, folders);
    QFETCH(QStringList, files);
    for (const QString &folder : qAsConst(folders)) {
        QVERIFY(QDir().mkpath(data(folder)));
        QVERIFY(QFile::setPermissions(data(folder), QFile::Permissions(0x5055)));
    }
    for (const QString &file : qAsConst(files)) {
        WriteFile(data(file), "kept\n");
        QVERIFY(QFile::setPermissions(data(file), QFile::Permissions(0x4044)));
    }
    // Permissions apply to everybody but root.
    QStringList wrapper;
    if (::geteuid() == 0) {
        for (const char *name : {"", "work", "records", "run"}) {
            QVERIFY(QFile::setPermissions(m_bundle->path(QLatin1String(name)),
                                          QFile::Permissions(0x7077)));
        }
        m_environment.insert(QStringLiteral("TMPDIR"), m_bundle->path(QStringLiteral("work")));
        wrapper = QStringList{QStringLiteral("setpriv"), QStringLiteral("--reuid=65534"),
                              QStringLiteral("--regid=65534"), QStringLiteral("--clear-groups")};
    }
    runAndCompare(wrapper);
    for (const QString &file : qAsConst(files)) {
        QCOMPARE(ReadFile(data(file)), QByteArray("kept\n"));
    }
}

QTEST_GUILESS_MAIN(tst_Leftovers)
#include "tst_leftovers.moc"
