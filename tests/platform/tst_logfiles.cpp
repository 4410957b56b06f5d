// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "LogStage.h"

#include <QFile>
#include <QFileInfo>
#include <QtTest>

/// Where the log's files are, what happens to them, and what happens without them.
class tst_LogFiles : public QObject {
    Q_OBJECT

private slots:
    static void place_dataDirectory_decides_data();
    static void place_dataDirectory_decides();
    static void place_noDataDirectory_isTheWorkingDirectory();
    static void place_missingDataDirectory_isNotMade();
    static void name_midnight_changes();
    static void name_date_isLocal();
    static void file_existing_isAppendedTo();
    static void file_removedBetweenMessages_isMadeAgain();
    static void file_notWritable_isSkipped_data();
    static void file_notWritable_isSkipped();
    static void file_ordinaryUser_skipsWhatIsReadOnly_data();
    static void file_ordinaryUser_skipsWhatIsReadOnly();
};

namespace {

const QStringList initAndLog{QStringLiteral("init"), QStringLiteral("critical"),
                             QStringLiteral("text")};

} // namespace

void tst_LogFiles::place_dataDirectory_decides_data()
{
    QTest::addColumn<QString>("dataDirectory");
    QTest::addColumn<QString>("log"); // what is at "Log" before
    QTest::addColumn<QString>("file");
    const auto row = [](const char *rule, const char *dataDirectory, const char *log,
                        const char *file) {
        QTest::newRow(rule) << QString::fromUtf8(dataDirectory) << QString::fromUtf8(log)
                            << QString::fromUtf8(file);
    };
    row("Log is made", "{stage}/data", "", "data/Log/2024-03-07.log");
    row("Log is there", "{stage}/data", "folder", "data/Log/2024-03-07.log");
    row("Log is a plain file", "{stage}/data", "file", "data/2024-03-07.log");
    row("Log is a link to nowhere", "{stage}/data", "link", "data/2024-03-07.log");
    row("Chinese letters", "{stage}/数据 目录", "", "数据 目录/Log/2024-03-07.log");
    row("relative to the working directory", "./data", "", "cwd/data/Log/2024-03-07.log");
}

void tst_LogFiles::place_dataDirectory_decides()
{
    QFETCH(QString, dataDirectory);
    QFETCH(QString, log);
    QFETCH(QString, file);
    LogStage stage;
    const bool relative = dataDirectory.startsWith(QLatin1Char('.'));
    const QString folder = relative ? QStringLiteral("cwd/data") : stage.fill(dataDirectory);
    stage.makeFolder(folder);
    stage.environment.insert(QStringLiteral("DATA_DIRECTORY"), stage.fill(dataDirectory));
    const QString logPath = stage.path(folder + QStringLiteral("/Log"));
    if (log == QStringLiteral("folder")) {
        stage.makeFolder(logPath);
    } else if (log == QStringLiteral("file")) {
        stage.makeFile(logPath);
    } else if (log == QStringLiteral("link")) {
        QVERIFY(QFile::link(QStringLiteral("nowhere/at all"), logPath));
    }

    const RunResult run = stage.run(initAndLog);

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(stage.fileContent(file), LogStage::line('C', "text"));
    QCOMPARE(run.err, LogStage::line('C', "text"));
}

void tst_LogFiles::place_noDataDirectory_isTheWorkingDirectory()
{
    LogStage stage;
    stage.environment.remove(QStringLiteral("DATA_DIRECTORY"));
    const RunResult run = stage.run(initAndLog);
    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(stage.fileContent(QStringLiteral("cwd/Log/2024-03-07.log")),
             LogStage::line('C', "text"));
}

void tst_LogFiles::place_missingDataDirectory_isNotMade()
{
    LogStage stage;
    stage.environment.insert(QStringLiteral("DATA_DIRECTORY"), stage.path(QStringLiteral("none")));
    const RunResult run = stage.run(initAndLog);
    QVERIFY2(run.exitCode == 0, run.err.constData());
    QVERIFY(!QFileInfo::exists(stage.path(QStringLiteral("none"))));
    QCOMPARE(run.err, LogStage::line('C', "text"));
}

void tst_LogFiles::name_midnight_changes()
{
    LogStage stage;
    const RunResult run = stage.run(
        {QStringLiteral("init"), QStringLiteral("clock"), QStringLiteral("1709855999999"),
         QStringLiteral("critical"), QStringLiteral("last"), QStringLiteral("clock"),
         QStringLiteral("1709856000000"), QStringLiteral("critical"), QStringLiteral("first")});
    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(stage.fileContent(QStringLiteral("data/Log/2024-03-07.log")),
             QByteArray("[2024-03-07 23:59:59.999 C] unknown:0 - last\n"));
    QCOMPARE(stage.fileContent(QStringLiteral("data/Log/2024-03-08.log")),
             QByteArray("[2024-03-08 00:00:00.000 C] unknown:0 - first\n"));
}

void tst_LogFiles::name_date_isLocal()
{
    LogStage stage;
    stage.environment.insert(QStringLiteral("TZ"), QStringLiteral("CST-8"));
    const RunResult run = stage.run({QStringLiteral("init"), QStringLiteral("clock"),
                                     QStringLiteral("1709827200000"), // 16:00 UTC
                                     QStringLiteral("critical"), QStringLiteral("text")});
    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(stage.fileContent(QStringLiteral("data/Log/2024-03-08.log")),
             QByteArray("[2024-03-08 00:00:00.000 C] unknown:0 - text\n"));
}

void tst_LogFiles::file_existing_isAppendedTo()
{
    LogStage stage;
    stage.makeFile(LogStage::day, "kept\n");
    stage.makeFile(QStringLiteral("data/Log/2001-01-01.log"), "old\n");
    const RunResult first = stage.run(initAndLog);
    const RunResult second = stage.run(initAndLog);
    QVERIFY(first.exitCode == 0 && second.exitCode == 0);
    QCOMPARE(stage.fileContent(LogStage::day),
             "kept\n" + LogStage::line('C', "text") + LogStage::line('C', "text"));
    QCOMPARE(stage.fileContent(QStringLiteral("data/Log/2001-01-01.log")), QByteArray("old\n"));
}

void tst_LogFiles::file_removedBetweenMessages_isMadeAgain()
{
    LogStage stage;
    const RunResult run =
        stage.run({QStringLiteral("init"), QStringLiteral("critical"), QStringLiteral("one"),
                   QStringLiteral("remove"), QStringLiteral("{stage}/") + LogStage::day,
                   QStringLiteral("critical"), QStringLiteral("two")});
    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(stage.fileContent(LogStage::day), LogStage::line('C', "two"));
}

void tst_LogFiles::file_notWritable_isSkipped_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"a folder in its place", "/dev/full", "nowhere/at all"}) {
        QTest::newRow(kind) << QString::fromUtf8(kind);
    }
}

void tst_LogFiles::file_notWritable_isSkipped()
{
    QFETCH(QString, kind);
    LogStage stage;
    if (kind == QStringLiteral("a folder in its place")) {
        stage.makeFolder(LogStage::day);
    } else {
        stage.makeFolder(QStringLiteral("data/Log"));
        QVERIFY(QFile::link(kind, stage.path(LogStage::day)));
    }

    const RunResult run = stage.run(initAndLog);

    QVERIFY2(run.exitCode == 0, run.err.constData());
    // A device makes the file classes log something first.
    QVERIFY2(run.err.endsWith(LogStage::line('C', "text")), run.err.constData());
}

void tst_LogFiles::file_ordinaryUser_skipsWhatIsReadOnly_data()
{
    QTest::addColumn<QString>("readOnly");
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("day's file") << LogStage::day << QByteArray("kept\n");
    QTest::newRow("log folder") << QStringLiteral("data/Log") << QByteArray();
    QTest::newRow("data directory") << QStringLiteral("data") << QByteArray();
}

void tst_LogFiles::file_ordinaryUser_skipsWhatIsReadOnly()
{
    QFETCH(QString, readOnly);
    QFETCH(QByteArray, content);
    LogStage stage;
    if (!content.isEmpty()) {
        stage.makeFile(readOnly, content);
    } else {
        stage.makeFolder(readOnly);
    }
    QVERIFY(QFile::setPermissions(stage.path(readOnly), QFile::ReadOwner | QFile::ExeOwner));

    const RunResult run = stage.run(QStringList{QStringLiteral("ordinary user")} + initAndLog);

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.err, LogStage::line('C', "text"));
    QCOMPARE(stage.fileContent(LogStage::day), content);
}

QTEST_APPLESS_MAIN(tst_LogFiles)
#include "tst_logfiles.moc"
