// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/tools/InplaceFixture.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QStorageInfo>
#include <QtTest>

namespace {

constexpr int DefaultKills = 12;
constexpr int Files = 24;

QString Path(int file)
{
    return QStringLiteral("folder %1/file %2")
        .arg(QString::number(file % 5), QString::number(file));
}

/// Content of one of the files, different in each release but for every sixth file.
QByteArray Content(int file, int release)
{
    const int edition = file % 6 == 0 ? 0 : release;
    const QByteArray line = QByteArray::number(file) + " of " + QByteArray::number(edition) + '\n';
    return line.repeated(file % 4 == 1 ? 100000 : 50);
}

/// Every fifth file is new in the second release.
bool IsNew(int file)
{
    return file % 5 == 4;
}

FileMap ReleaseFiles(int release)
{
    FileMap files;
    for (int file = 0; file < Files; ++file) {
        if (release > 1 || !IsNew(file)) {
            files.insert(Path(file), Content(file, release));
        }
    }
    return files;
}

/// A folder on another volume than the temporary folders, or an empty path.
QString OtherVolume()
{
    const QString memory = QStringLiteral("/dev/shm");
    const bool other = QStorageInfo(memory).isValid() &&
                       QStorageInfo(memory) != QStorageInfo(QDir::tempPath()) &&
                       QFileInfo(memory).isWritable();
    return other ? memory : QString();
}

} // namespace

/// Kills updates at random moments. UPDATER_KILLS says how many, UPDATER_SEED repeats a run.
class tst_InplaceKill : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void update_killedAtAnyMoment_isCompletedByTheNextRun_data();
    void update_killedAtAnyMoment_isCompletedByTheNextRun();
    void cleanupTestCase();

private:
    std::unique_ptr<QProcess> start(const UpdateFolders &folders, bool console) const;
    void killAtRandom(const UpdateFolders &folders, bool console);
    void checkNothingIsLost(const UpdateFolders &folders) const;
    void checkComplete(const UpdateFolders &folders) const;

    QScopedPointer<ScriptedServer> m_server;
    QRandomGenerator m_random;
    FileMap m_old = ReleaseFiles(1);
    FileMap m_new = ReleaseFiles(2);
    qint64 m_wholeRun = 0; // milliseconds
    int m_kills = 0;
    int m_killsWhileApplying = 0;
};

void tst_InplaceKill::initTestCase()
{
    bool given = false;
    quint32 seed = qEnvironmentVariable("UPDATER_SEED").toUInt(&given);
    if (!given) {
        seed = QRandomGenerator::global()->generate();
    }
    m_random.seed(seed);
    qInfo("UPDATER_SEED=%u", seed);
    const FileMap served = Published(m_new);
    m_server.reset(
        new ScriptedServer([served](ScriptedConnection &connection, const QByteArray &request) {
            connection.pause(2); // so that there are moments between the files
            ServeFiles(served)(connection, request);
        }));
}

std::unique_ptr<QProcess> tst_InplaceKill::start(const UpdateFolders &folders, bool console) const
{
    QStringList arguments{QStringLiteral("--base-url"), m_server->url(QString()),
                          QStringLiteral("--install"),  folders.install.path(),
                          QStringLiteral("--staging"),  folders.staging.path()};
    if (console) {
        arguments << QStringLiteral("--console");
    }
    auto process = std::make_unique<QProcess>();
    process->start(QStringLiteral(INPLACE_UPDATE), arguments);
    if (!process->waitForStarted()) {
        qFatal("The program cannot be started.");
    }
    return process;
}

void tst_InplaceKill::killAtRandom(const UpdateFolders &folders, bool console)
{
    const QString last = QLatin1Char('/') + m_new.lastKey();
    const auto lastIsAsked = [this, &last] {
        const QList<QByteArray> requests = m_server->requests();
        return !requests.isEmpty() && RequestedPath(requests.last()).endsWith(last);
    };
    const bool late = m_random.bounded(3) > 0;
    const auto process = start(folders, console);
    if (late) { // most of what matters happens after the last file has come
        const auto moment = m_random.bounded(20000);
        (void)QTest::qWaitFor(
            [&] { return lastIsAsked() || process->state() == QProcess::NotRunning; }, 10000);
        QElapsedTimer timer;
        timer.start();
        while (timer.nsecsElapsed() < qint64{moment} * 1000) {
        }
    } else {
        (void)process->waitForFinished(
            m_random.bounded(static_cast<int>(qMax<qint64>(m_wholeRun, 1))));
    }
    process->kill(); // nothing if it was quicker
    QVERIFY(process->state() == QProcess::NotRunning || process->waitForFinished(10000));
    m_kills += process->exitStatus() == QProcess::CrashExit ? 1 : 0;
}

/// Of every file of the installation the old or the new content is still there, whole.
void tst_InplaceKill::checkNothingIsLost(const UpdateFolders &folders) const
{
    for (auto file = m_old.cbegin(); file != m_old.cend(); ++file) {
        const QByteArray there = ReadFile(folders.installPath(file.key()));
        const QByteArray kept = ReadFile(folders.installPath(file.key() + QStringLiteral(".old")));
        const QByteArray &newer = m_new[file.key()];
        QVERIFY2(there == file.value() || there == newer || kept == file.value(),
                 qPrintable(file.key()));
    }
}

void tst_InplaceKill::checkComplete(const UpdateFolders &folders) const
{
    FileMap expected = m_new;
    for (auto file = m_old.cbegin(); file != m_old.cend(); ++file) {
        if (file.value() != m_new.value(file.key())) {
            expected.insert(file.key() + QStringLiteral(".old"), file.value());
        }
    }
    expected.insert(QStringLiteral("update_md5.info"), ManifestOf(m_new));
    const FileMap installed = ReadTree(folders.install);
    QCOMPARE(installed.keys(), expected.keys());
    QVERIFY(installed == expected);
    QCOMPARE(ReadTree(folders.staging).keys(), QStringList());
}

void tst_InplaceKill::update_killedAtAnyMoment_isCompletedByTheNextRun_data()
{
    QTest::addColumn<bool>("otherVolume");
    QTest::addColumn<bool>("console");
    const int kills = qEnvironmentVariableIsSet("UPDATER_KILLS")
                          ? qEnvironmentVariableIntValue("UPDATER_KILLS")
                          : DefaultKills;
    for (int i = 0; i < kills; ++i) {
        const bool otherVolume = i % 2 == 1 && !OtherVolume().isEmpty();
        const bool console = i % 3 != 0;
        QTest::addRow("%d, %s, %s", i + 1, otherVolume ? "two volumes" : "one volume",
                      console ? "console" : "windows")
            << otherVolume << console;
    }
}

void tst_InplaceKill::update_killedAtAnyMoment_isCompletedByTheNextRun()
{
    QFETCH(bool, otherVolume);
    QFETCH(bool, console);
    UpdateFolders folders;
    const QTemporaryDir other(OtherVolume() + QStringLiteral("/updater-test.XXXXXX"));
    if (otherVolume) {
        folders.staging = QDir(other.path());
    }
    for (auto file = m_old.cbegin(); file != m_old.cend(); ++file) {
        WriteFile(folders.installPath(file.key()), file.value());
    }
    WriteFile(folders.installPath(QStringLiteral("update_md5.info")), ManifestOf(m_old));

    const int kills = 1 + m_random.bounded(2);
    for (int i = 0; i < kills; ++i) {
        killAtRandom(folders, console);
        checkNothingIsLost(folders);
        const FileMap installed = ReadTree(folders.install);
        const bool begun = WithoutKept(installed) != m_old;
        const bool done = installed.value(QStringLiteral("update_md5.info")) == ManifestOf(m_new);
        m_killsWhileApplying += begun && !done ? 1 : 0;
    }

    QElapsedTimer timer;
    timer.start();
    const auto process = start(folders, console);
    QVERIFY(process->waitForFinished(30000));
    m_wholeRun = qMax(m_wholeRun, timer.elapsed());
    QVERIFY2(process->exitCode() == 0, process->readAllStandardError().constData());
    checkComplete(folders);
}

void tst_InplaceKill::cleanupTestCase()
{
    qInfo("%d kills, %d of them while files were being replaced", m_kills, m_killsWhileApplying);
    m_server.reset();
}

QTEST_GUILESS_MAIN(tst_InplaceKill)
#include "tst_inplace_kill.moc"
