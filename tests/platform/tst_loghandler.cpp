// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "LogStage.h"

#include <QtTest>

#include <csignal>

/// What the log's handler writes and passes on. Each case is a run of a program that logs.
class tst_LogHandler : public QObject {
    Q_OBJECT

private slots:
    static void level_messages_areComparedByNumber_data();
    static void level_messages_areComparedByNumber();
    static void level_neverSet_isCritical();
    static void level_setAfterInitialize_counts();
    static void line_message_hasTheFixedPattern_data();
    static void line_message_hasTheFixedPattern();
    static void fatal_message_isWrittenBeforeTheEnd();
    static void handlerBefore_messages_getsThemAll();
    static void handlerBefore_waiting_keepsNoOtherThreadOut();
    static void threads_longLines_staysWhole();
    static void lockHeld_handlerCalled_writesALineOfItsOwn();
    static void lockHeld_messageRaised_isPassedOn();
    static void beforeInitialize_message_isNotWritten();
    static void afterRelease_message_isNotWritten();
    static void afterRelease_message_goesToTheToolkitsHandler();
};

namespace {

// Returns the letters of the lines' types, in order.
QByteArray Letters(const QByteArray &lines)
{
    QByteArray found;
    for (const QByteArray &line : lines.split('\n')) {
        found += line.mid(25, line.isEmpty() ? 0 : 1);
    }
    return found;
}

const QStringList oneOfEach{QStringLiteral("debug"),    QStringLiteral("d"),
                            QStringLiteral("info"),     QStringLiteral("i"),
                            QStringLiteral("warning"),  QStringLiteral("w"),
                            QStringLiteral("critical"), QStringLiteral("c")};

} // namespace

void tst_LogHandler::level_messages_areComparedByNumber_data()
{
    QTest::addColumn<QString>("level");
    QTest::addColumn<QByteArray>("written");
    const auto row = [](const char *rule, const char *level, const char *written) {
        QTest::newRow(rule) << QString::fromUtf8(level) << QByteArray(written);
    };
    row("debug: all", "0", "DIWC");
    row("warning: all but debug", "1", "IWC");
    row("critical: info too, but no warning", "2", "IC");
    row("fatal: info too", "3", "I");
    row("info: info alone", "4", "I");
    row("above all numbers: none", "5", "");
}

void tst_LogHandler::level_messages_areComparedByNumber()
{
    QFETCH(QString, level);
    QFETCH(QByteArray, written);
    LogStage stage;

    const RunResult run =
        stage.run(QStringList{QStringLiteral("level"), level, QStringLiteral("init")} + oneOfEach);

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(Letters(stage.fileContent(LogStage::day)), written);
    QCOMPARE(Letters(run.err), QByteArray("DIWC")); // whatever is written, all are passed on
}

void tst_LogHandler::level_neverSet_isCritical()
{
    LogStage stage;
    (void)stage.run(QStringList{QStringLiteral("init")} + oneOfEach);
    QCOMPARE(Letters(stage.fileContent(LogStage::day)), QByteArray("IC"));
}

void tst_LogHandler::level_setAfterInitialize_counts()
{
    LogStage stage;
    (void)stage.run(QStringList{QStringLiteral("init"), QStringLiteral("level"),
                                QStringLiteral("0"), QStringLiteral("debug"), QStringLiteral("one"),
                                QStringLiteral("level"), QStringLiteral("1"),
                                QStringLiteral("debug"), QStringLiteral("two")});
    QCOMPARE(stage.fileContent(LogStage::day), LogStage::line('D', "one"));
}

void tst_LogHandler::line_message_hasTheFixedPattern_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("line");
    const auto row = [](const char *rule, const char *command, const char *text,
                        const QByteArray &line) {
        QTest::newRow(rule) << QString::fromUtf8(command) << QString::fromUtf8(text) << line;
    };
    row("debug", "debug", "a b", "[2024-03-07 12:00:00.007 D] unknown:0 - a b\n");
    row("info", "info", "a b", "[2024-03-07 12:00:00.007 I] unknown:0 - a b\n");
    row("warning", "warning", "a b", "[2024-03-07 12:00:00.007 W] unknown:0 - a b\n");
    row("critical", "critical", "a b", "[2024-03-07 12:00:00.007 C] unknown:0 - a b\n");
    // Our choice: the file is UTF-8, whatever the locale.
    row("Chinese letters are UTF-8", "info", "----更新程序启动----",
        "[2024-03-07 12:00:00.007 I] unknown:0 - ----更新程序启动----\n");
    row("letters beyond 16 bits", "info", "😀𠀀", "[2024-03-07 12:00:00.007 I] unknown:0 - 😀𠀀\n");
    row("empty message", "info", "", "[2024-03-07 12:00:00.007 I] unknown:0 - \n");
    row("formats are plain text", "info", R"(%{line} %s %1 "q" \n)",
        "[2024-03-07 12:00:00.007 I] unknown:0 - %{line} %s %1 \"q\" \\n\n");
    row("line breaks stay", "info", "a\nb\r\nc",
        "[2024-03-07 12:00:00.007 I] unknown:0 - a\nb\r\nc\n");
}

void tst_LogHandler::line_message_hasTheFixedPattern()
{
    QFETCH(QString, command);
    QFETCH(QString, text);
    QFETCH(QByteArray, line);
    LogStage stage;

    const RunResult run = stage.run({QStringLiteral("clock"), QStringLiteral("1709812800007"),
                                     QStringLiteral("level"), QStringLiteral("0"),
                                     QStringLiteral("init"), command, text});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(stage.fileContent(LogStage::day), line);
    QCOMPARE(run.err, line);
    QCOMPARE(run.out, QByteArray());
}

void tst_LogHandler::fatal_message_isWrittenBeforeTheEnd()
{
    LogStage stage;
    const RunResult run =
        stage.run({QStringLiteral("init"), QStringLiteral("fatal"), QStringLiteral("the end"),
                   QStringLiteral("critical"), QStringLiteral("never said")});
    QCOMPARE(stage.fileContent(LogStage::day), LogStage::line('F', "the end"));
    QCOMPARE(run.exitCode, 128 + SIGABRT);
}

void tst_LogHandler::handlerBefore_messages_getsThemAll()
{
    LogStage stage;
    const RunResult run = stage.run(
        QStringList{QStringLiteral("handler before"), QStringLiteral("init")} + oneOfEach);
    QCOMPARE(run.out, QByteArray("before: 0 default d\nbefore: 4 default i\n"
                                 "before: 1 default w\nbefore: 2 default c\n"));
    QCOMPARE(Letters(stage.fileContent(LogStage::day)), QByteArray("IC"));
}

void tst_LogHandler::handlerBefore_waiting_keepsNoOtherThreadOut()
{
    LogStage stage;
    const RunResult run = stage.run({QStringLiteral("handler before"), QStringLiteral("init"),
                                     QStringLiteral("log while one waits")});
    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(stage.fileContent(LogStage::day),
             LogStage::line('C', "wait") + LogStage::line('C', "open"));
}

void tst_LogHandler::threads_longLines_staysWhole()
{
    LogStage stage;
    const RunResult run = stage.run({QStringLiteral("silent handler before"),
                                     QStringLiteral("init"), QStringLiteral("log from threads")});
    QVERIFY2(run.exitCode == 0, run.err.constData());

    QMap<char, int> lines;
    for (const QByteArray &line : stage.fileContent(LogStage::day).split('\n')) {
        if (!line.isEmpty()) {
            const char letter = line.at(LogStage::line('C', "").size() - 1);
            const QByteArray text(20000, letter);
            const QByteArray number = QByteArray::number(lines[letter]++);
            QCOMPARE(line + '\n', LogStage::line('C', text + ' ' + number));
        }
    }
    QCOMPARE(lines, (QMap<char, int>{{'a', 50}, {'b', 50}, {'c', 50}, {'d', 50}}));
}

// The driver's clock is first looked at for the file's name, when the lock is held.
void tst_LogHandler::lockHeld_handlerCalled_writesALineOfItsOwn()
{
    LogStage stage;
    const RunResult run =
        stage.run({QStringLiteral("level"), QStringLiteral("0"), QStringLiteral("init"),
                   QStringLiteral("clock calls the handler"), QStringLiteral("critical"),
                   QStringLiteral("outer")});
    QVERIFY2(run.exitCode == 0, run.err.constData());
    const QByteArray both = LogStage::line('W', "the clock calls") + LogStage::line('C', "outer");
    QCOMPARE(stage.fileContent(LogStage::day), both);
    QCOMPARE(run.err, both);
}

void tst_LogHandler::lockHeld_messageRaised_isPassedOn()
{
    LogStage stage;
    const RunResult run = stage.run({QStringLiteral("level"), QStringLiteral("0"),
                                     QStringLiteral("init"), QStringLiteral("clock warns"),
                                     QStringLiteral("critical"), QStringLiteral("outer")});
    QVERIFY2(run.exitCode == 0, run.err.constData());
    QVERIFY(stage.fileContent(LogStage::day).endsWith(LogStage::line('C', "outer")));
    QCOMPARE(run.err, "the clock warns\n" + LogStage::line('C', "outer"));
}

void tst_LogHandler::beforeInitialize_message_isNotWritten()
{
    LogStage stage;
    const RunResult run =
        stage.run({QStringLiteral("critical"), QStringLiteral("early"), QStringLiteral("init"),
                   QStringLiteral("critical"), QStringLiteral("late")});
    QCOMPARE(stage.fileContent(LogStage::day), LogStage::line('C', "late"));
    QCOMPARE(run.err, "early\n" + LogStage::line('C', "late"));
}

void tst_LogHandler::afterRelease_message_isNotWritten()
{
    LogStage stage;
    const RunResult run =
        stage.run({QStringLiteral("init"), QStringLiteral("critical"), QStringLiteral("one"),
                   QStringLiteral("release"), QStringLiteral("critical"), QStringLiteral("two")});
    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(stage.fileContent(LogStage::day), LogStage::line('C', "one"));
    // The pattern stays.
    QCOMPARE(run.err, LogStage::line('C', "one") + LogStage::line('C', "two"));
}

void tst_LogHandler::afterRelease_message_goesToTheToolkitsHandler()
{
    LogStage stage;
    const RunResult run =
        stage.run({QStringLiteral("handler before"), QStringLiteral("init"),
                   QStringLiteral("critical"), QStringLiteral("one"), QStringLiteral("release"),
                   QStringLiteral("critical"), QStringLiteral("two")});
    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, QByteArray("before: 2 default one\n")); // not the handler before
    QCOMPARE(run.err, LogStage::line('C', "one") + LogStage::line('C', "two"));
}

QTEST_APPLESS_MAIN(tst_LogHandler)
#include "tst_loghandler.moc"
