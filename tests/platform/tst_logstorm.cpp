// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "LogStorm.h"
#include "tests/support/OwnNamespaces.h"
#include "tests/support/TestFiles.h"

#include <QDateTime>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QtTest>

#include <sys/mount.h>

namespace {

constexpr int PatienceMs = 60000;
constexpr int Rounds = 4;
constexpr qint64 DiskSize = 64 << 20;

bool HasOwnMounts = false;

} // namespace

/// Many threads of several processes log into one day's file while its surroundings change.
/// UPDATER_KILLS says how many of the processes are killed.
class tst_LogStorm : public QObject {
    Q_OBJECT

private slots:
    static void lines_ofEveryThread_areThereOnce();
    static void process_killed_losesNothingBefore_data();
    static void process_killed_losesNothingBefore();
    static void folder_removed_skipsLinesUntilItIsBack();
    static void file_readOnly_skipsLinesUntilItIsWritable();
    static void disk_full_skipsLinesUntilThereIsRoom();
    static void midnight_duringTheStorm_partsTheFiles();

private:
    static void checkSkipped(const LogStorm &storm, const StormLines &lines, int gaps);
};

/// At most so many runs of lines are missing per thread. Some are missing, if any may be, but not
/// up to the end of a process: the last line of one of its threads is there.
void tst_LogStorm::checkSkipped(const LogStorm &storm, const StormLines &lines, int gaps)
{
    QCOMPARE(lines.doubled, 0);
    int logged = 0;
    for (int process = 0; process < LogStorm::Processes; ++process) {
        bool goesOn = false;
        for (int thread = 0; thread < LogStorm::Threads; ++thread) {
            const int count = storm.logged(process, thread);
            QVERIFY(count >= 0); // 0: it never got a turn
            QVERIFY(lines.gaps(process, thread, count) <= gaps);
            goesOn = goesOn || lines.days.contains({process, thread, count - 1});
            logged += count;
        }
        QVERIFY(goesOn);
    }
    QCOMPARE(storm.passedOn(), logged); // whether it was written or not
    QVERIFY(gaps == 0 ? lines.days.size() == logged : lines.days.size() < logged);
    qInfo() << logged << "lines," << logged - lines.days.size() << "of them skipped";
}

void tst_LogStorm::lines_ofEveryThread_areThereOnce()
{
    constexpr int Lines = STORM_LINES; // of each thread
    LogStorm storm;
    storm.start(Lines);
    QVERIFY(storm.stop());
    StormLines lines;
    lines.add(ReadFile(storm.logFile()));
    QCOMPARE(lines.broken, QList<QByteArray>());
    QCOMPARE(lines.days.size(), LogStorm::Processes * LogStorm::Threads * Lines);
    checkSkipped(storm, lines, 0);
}

void tst_LogStorm::process_killed_losesNothingBefore_data()
{
    QTest::addColumn<int>("process");
    const int kills = qEnvironmentVariableIsSet("UPDATER_KILLS")
                          ? qEnvironmentVariableIntValue("UPDATER_KILLS")
                          : 8;
    for (int i = 0; i < kills; ++i) {
        QTest::addRow("%d", i + 1) << i % LogStorm::Processes;
    }
}

/// The system may cut off a killed process's write, so that a piece of a line is left in front of
/// the next one.
void tst_LogStorm::process_killed_losesNothingBefore()
{
    QFETCH(int, process);
    LogStorm storm;
    storm.start();
    QVERIFY(storm.goesOn());
    storm.kill(process);
    QVERIFY(storm.goesOn());
    QVERIFY(storm.stop());
    QCOMPARE(storm.logged(process, 0), -1);

    StormLines lines;
    lines.add(ReadFile(storm.logFile()));
    QVERIFY(lines.broken.size() <= 1);
    QCOMPARE(lines.doubled, 0);
    int ofTheKilled = 0;
    for (auto line = lines.days.cbegin(); line != lines.days.cend(); ++line) {
        ofTheKilled += line.key().process == process ? 1 : 0;
    }
    QVERIFY(ofTheKilled > 0);
    for (int thread = 0; thread < LogStorm::Threads; ++thread) {
        int last = 0;
        while (lines.days.contains({process, thread, last})) {
            ++last;
        }
        ofTheKilled -= last;
        for (int other = 0; other < LogStorm::Processes; ++other) {
            QVERIFY(other == process ||
                    lines.gaps(other, thread, storm.logged(other, thread)) == 0);
        }
    }
    QCOMPARE(ofTheKilled, 0); // none follows a gap
    if (!lines.broken.isEmpty()) {
        qInfo("a piece of a line: %s", lines.broken.first().constData());
    }
}

void tst_LogStorm::folder_removed_skipsLinesUntilItIsBack()
{
    LogStorm storm;
    QDir data = storm.data();
    const QString log = QStringLiteral("Log");
    storm.start();
    QVERIFY(storm.goesOn());
    for (int round = 0; round < Rounds; ++round) {
        // Out of the way in one step, with all that is in it.
        QVERIFY(data.rename(log, QString::number(round)));
        QVERIFY(storm.goesOn());
        QVERIFY(!data.exists(log)); // only a start makes it
        QVERIFY(data.mkdir(log));
        QTRY_VERIFY_WITH_TIMEOUT(!storm.logFile().isEmpty(), PatienceMs);
        QVERIFY(storm.goesOn());
    }
    QVERIFY(storm.stop());

    StormLines lines;
    lines.add(ReadFile(storm.logFile()));
    for (int round = 0; round < Rounds; ++round) {
        const QDir removed(data.filePath(QString::number(round)));
        const QFileInfoList files = removed.entryInfoList(QDir::Files);
        QCOMPARE(files.size(), 1);
        lines.add(ReadFile(files.first().filePath()));
    }
    QCOMPARE(lines.broken, QList<QByteArray>());
    checkSkipped(storm, lines, Rounds);
}

void tst_LogStorm::file_readOnly_skipsLinesUntilItIsWritable()
{
    LogStorm storm;
    storm.start(0, {QStringLiteral("ordinary")});
    QVERIFY(storm.goesOn());
    const QString file = storm.logFile();
    for (int round = 0; round < Rounds; ++round) {
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner));
        QVERIFY(storm.goesOn());
        const qint64 size = QFileInfo(file).size();
        QVERIFY(storm.goesOn());
        QCOMPARE(QFileInfo(file).size(), size);
        QVERIFY(QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner));
        QVERIFY(storm.goesOn());
    }
    QVERIFY(storm.stop());
    StormLines lines;
    lines.add(ReadFile(file));
    QCOMPARE(lines.broken, QList<QByteArray>());
    checkSkipped(storm, lines, Rounds);
}

/// The one line for which there was only half the room leaves a piece in front of the next one.
void tst_LogStorm::disk_full_skipsLinesUntilThereIsRoom()
{
    if (!HasOwnMounts) {
        QSKIP("Volumes cannot be mounted here.");
    }
    LogStorm storm;
    const QByteArray disk = QFile::encodeName(storm.data().path());
    const QByteArray options = "size=" + QByteArray::number(DiskSize);
    QCOMPARE(::mount("none", disk.constData(), "tmpfs", 0, options.constData()), 0);
    const auto unmount = qScopeGuard([&disk] { (void)::umount2(disk.constData(), MNT_DETACH); });
    const QString filler = storm.data().filePath(QStringLiteral("filler"));
    WriteFile(filler, QByteArray(DiskSize - (256 << 10), 'f'));

    storm.start();
    QTRY_VERIFY_WITH_TIMEOUT(QStorageInfo(storm.data()).bytesAvailable() == 0, PatienceMs);
    QVERIFY(storm.goesOn());
    const qint64 full = QFileInfo(storm.logFile()).size();
    QVERIFY(storm.goesOn());
    QCOMPARE(QFileInfo(storm.logFile()).size(), full);
    QVERIFY(QFile::remove(filler));
    QVERIFY(storm.goesOn());
    QVERIFY(storm.stop());

    const QByteArray content = ReadFile(storm.logFile());
    StormLines lines;
    lines.add(content);
    QVERIFY(lines.broken.size() <= 1);
    if (!lines.broken.isEmpty()) {
        qInfo("a piece of a line: %s", lines.broken.first().constData());
        const int start = content.indexOf(lines.broken.first());
        QVERIFY(start < full && full < start + lines.broken.first().size());
    }
    checkSkipped(storm, lines, 1);
}

/// The date is read twice, for the file's name and then for the line: at midnight, one line of each
/// process may be in the old file with the new date.
void tst_LogStorm::midnight_duringTheStorm_partsTheFiles()
{
    const QString faketime = QStandardPaths::findExecutable(QStringLiteral(FAKETIME));
    if (faketime.isEmpty()) {
        QSKIP("The clock of another program cannot be set here.");
    }
    QProcess library;
    library.start(faketime, {QStringLiteral("-m"), QStringLiteral("-f"), QStringLiteral("+0"),
                             QStringLiteral("printenv"), QStringLiteral("LD_PRELOAD")});
    QVERIFY(library.waitForFinished());
    LogStorm storm;
    storm.environment.insert(QStringLiteral("LD_PRELOAD"),
                             QString::fromLocal8Bit(library.readAllStandardOutput()).trimmed());
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QDateTime midnight(now.date().addDays(1), QTime(0, 0), Qt::UTC);
    storm.environment.insert(
        QStringLiteral("FAKETIME"),
        QStringLiteral("+%1").arg(static_cast<double>(now.msecsTo(midnight) - 5000) / 1000, 0, 'f',
                                  3));

    storm.start();
    const QDir log(storm.data().filePath(QStringLiteral("Log")));
    const QString day = now.date().toString(Qt::ISODate);
    const QString nextDay = midnight.date().toString(Qt::ISODate);
    QTRY_VERIFY_WITH_TIMEOUT(log.exists(nextDay + QStringLiteral(".log")), PatienceMs);
    QVERIFY(storm.goesOn());
    QVERIFY(storm.stop());
    QCOMPARE(log.entryList(QDir::Files, QDir::Name),
             QStringList({day + QStringLiteral(".log"), nextDay + QStringLiteral(".log")}));

    StormLines before;
    before.add(ReadFile(log.filePath(day + QStringLiteral(".log"))));
    QList<int> late; // the processes of the lines that are younger than their file
    for (auto line = before.days.cbegin(); line != before.days.cend(); ++line) {
        if (line.value() != day.toLatin1()) {
            QCOMPARE(line.value(), nextDay.toLatin1());
            QVERIFY(!late.contains(line.key().process));
            late.append(line.key().process);
        }
    }
    StormLines after;
    after.add(ReadFile(log.filePath(nextDay + QStringLiteral(".log"))));
    for (const QByteArray &date : qAsConst(after.days)) {
        QCOMPARE(date, nextDay.toLatin1());
    }
    QVERIFY(before.days.size() > late.size());
    qInfo() << before.days.size() - late.size() << "lines before midnight," << after.days.size()
            << "after," << late.size() << "late";
    after.add(ReadFile(log.filePath(day + QStringLiteral(".log"))));
    QCOMPARE(after.broken, QList<QByteArray>());
    checkSkipped(storm, after, 0);
}

int main(int argc, char *argv[])
{
    HasOwnMounts = EnterOwnNamespaces(OwnMounts); // before there is a second thread
    QCoreApplication application(argc, argv);
    tst_LogStorm test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_logstorm.moc"
