// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceProgram.h"

#include <QRandomGenerator>
#include <QStorageInfo>
#include <QtTest>

#include <atomic>

namespace {

/// Returns a number from the environment, or \a otherwise when it is not there.
quint32 Setting(const char *name, quint32 otherwise)
{
    bool given = false;
    const quint32 number = qEnvironmentVariable(name).toUInt(&given);
    return given ? number : otherwise;
}

QString Path(int file)
{
    return QStringLiteral("folder %1/file %2")
        .arg(QString::number(file % 5), QString::number(file));
}

/// Content of one of the files, different in each release but for every sixth file. One in 24 is
/// large, so that there is time to break its copy off.
QByteArray Content(int file, int release)
{
    const int edition = file % 6 == 0 ? 0 : release;
    const QByteArray line = QByteArray::number(file) + " of " + QByteArray::number(edition) + '\n';
    return line.repeated(file % 24 == 1 ? 100000 : 50 * (file % 24));
}

/// Every fifth file is new in the second release.
bool IsNew(int file)
{
    return file % 5 == 4;
}

FileMap ReleaseFiles(int release)
{
    FileMap files;
    const int count = static_cast<int>(Setting("UPDATER_FILES", 24));
    for (int file = 0; file < count; ++file) {
        if (release > 1 || !IsNew(file)) {
            files.insert(Path(file), Content(file, release));
        }
    }
    return files;
}

/// Returns the files of a release in \a tree, without what the program has there for itself.
FileMap ReleasePart(const FileMap &tree)
{
    FileMap files = WithoutKept(tree);
    for (const QString &path : files.keys()) {
        if (path.contains(QLatin1Char('#'))) {
            files.remove(path);
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

/// Kills updates at random moments. UPDATER_KILLS says how many (some runs are quicker than their
/// kill; these do not count), UPDATER_FILES how many files they have, UPDATER_SEED repeats a run.
class tst_InplaceKill : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void update_killedAtAnyMoment_isCompletedByTheNextRun_data();
    void update_killedAtAnyMoment_isCompletedByTheNextRun();
    void cleanupTestCase();

private:
    void updateOnce(bool otherVolume, bool console);
    void killAtRandom(const UpdateFolders &folders, bool console);
    void completeAndTime(const UpdateFolders &folders, bool console);

    QScopedPointer<ScriptedServer> m_server;
    QRandomGenerator m_random;
    const FileMap m_old = ReleaseFiles(1);
    const FileMap m_new = ReleaseFiles(2);
    const QString m_last = QStringLiteral("/release/") + m_new.lastKey();
    std::atomic<bool> m_lastIsAsked{false};
    int m_wholeRun = 1;  // milliseconds, the last time
    int m_applying = 20; // milliseconds after the last file was asked for, the last time
    int m_kills = 0;
    int m_killsWhileApplying = 0;
    int m_killsOnTwoVolumes = 0;
};

void tst_InplaceKill::initTestCase()
{
    const quint32 seed = Setting("UPDATER_SEED", QRandomGenerator::global()->generate());
    m_random.seed(seed);
    qInfo("UPDATER_SEED=%u", seed);
    const FileMap served = Published(m_new);
    m_server.reset(new ScriptedServer(
        [this, served](ScriptedConnection &connection, const QByteArray &request) {
            connection.pause(1); // so that there are moments between the files
            m_lastIsAsked = m_lastIsAsked || RequestedPath(request) == m_last;
            ServeFiles(served)(connection, request);
        }));
}

void tst_InplaceKill::killAtRandom(const UpdateFolders &folders, bool console)
{
    m_lastIsAsked = false;
    InplaceProgram program(m_server->url(QString()), folders, console);
    program.start();
    if (m_random.bounded(3) > 0) { // most of what matters happens after the last file has come
        const auto moment = m_random.bounded(1000 * m_applying);
        QElapsedTimer timer;
        timer.start();
        while (!m_lastIsAsked && program.isRunning() && timer.elapsed() < 20000) {
            (void)program.waitForEnd(1); // a pause
        }
        timer.start();
        while (timer.nsecsElapsed() < qint64{moment} * 1000 && program.isRunning()) {
        }
    } else {
        (void)program.waitForEnd(m_random.bounded(m_wholeRun)); // mostly it runs on
    }
    const bool killed = program.kill();

    const QString lost = LostFile(m_old, m_new, folders.install);
    QVERIFY2(lost.isEmpty(), qPrintable(lost));
    const FileMap installed = ReadTree(folders.install);
    const bool begun = ReleasePart(installed) != m_old;
    const bool done = installed.value(QStringLiteral("update_md5.info")) == ManifestOf(m_new);
    m_kills += killed ? 1 : 0;
    m_killsWhileApplying += killed && begun && !done ? 1 : 0;
}

void tst_InplaceKill::completeAndTime(const UpdateFolders &folders, bool console)
{
    InplaceProgram program(m_server->url(QString()), folders, console);
    m_lastIsAsked = false;
    program.start();
    qint64 asked = 0;
    QElapsedTimer timer;
    timer.start();
    while (!program.waitForEnd(1) && timer.elapsed() < 60000) {
        asked = m_lastIsAsked && asked == 0 ? timer.elapsed() : asked;
    }
    QVERIFY2(program.exitCode() == 0, program.errors().constData());
    m_wholeRun = qMax(1, static_cast<int>(timer.elapsed()));
    if (asked > 0) {
        m_applying = qBound(20, static_cast<int>(timer.elapsed() - asked), 500);
    }
    QVERIFY(ReadTree(folders.install) == Updated(m_old, m_new));
    QCOMPARE(ReadTree(folders.staging).keys(), QStringList());
}

void tst_InplaceKill::updateOnce(bool otherVolume, bool console)
{
    UpdateFolders folders;
    const QTemporaryDir other(OtherVolume() + QStringLiteral("/updater-test.XXXXXX"));
    if (otherVolume) {
        folders.staging = QDir(other.path());
    }
    LayInstallation(folders.install, m_old);
    const int before = m_kills;
    for (int kills = 1 + m_random.bounded(2); kills > 0 && !QTest::currentTestFailed(); --kills) {
        killAtRandom(folders, console);
    }
    m_killsOnTwoVolumes += otherVolume ? m_kills - before : 0;
    completeAndTime(folders, console);
}

void tst_InplaceKill::update_killedAtAnyMoment_isCompletedByTheNextRun_data()
{
    QTest::addColumn<int>("wanted");
    const auto kills = static_cast<int>(Setting("UPDATER_KILLS", 12));
    for (int row = 0; row < kills; row += 25) { // as many as fit into a test's time
        const int upTo = qMin(row + 25, kills);
        QTest::addRow("kills %d to %d", row + 1, upTo) << upTo;
    }
}

void tst_InplaceKill::update_killedAtAnyMoment_isCompletedByTheNextRun()
{
    QFETCH(int, wanted);
    const bool twoVolumes = !OtherVolume().isEmpty();
    for (int run = 0; m_kills < wanted && run < 100; ++run) {
        const bool otherVolume = twoVolumes && run % 2 == 1;
        const bool console = run % 3 != 0;
        updateOnce(otherVolume, console);
        if (QTest::currentTestFailed()) {
            qWarning("in run %d, %s, %s", run + 1, otherVolume ? "two volumes" : "one volume",
                     console ? "console" : "windows");
            return;
        }
    }
    QVERIFY(m_kills >= wanted);
}

void tst_InplaceKill::cleanupTestCase()
{
    qInfo("%d files, %d kills, %d of them with two volumes, %d while files were being replaced",
          m_new.size(), m_kills, m_killsOnTwoVolumes, m_killsWhileApplying);
    m_server.reset();
}

QTEST_GUILESS_MAIN(tst_InplaceKill)
#include "tst_inplace_kill.moc"
