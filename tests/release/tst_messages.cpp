// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/Messages.h"

#include <QProcess>
#include <QtTest>

class tst_Messages : public QObject {
    Q_OBJECT

private slots:
    static void printable_text_isAsExpected_data();
    static void printable_text_isAsExpected();
    static void messages_streams_areAsExpected();
};

void tst_Messages::printable_text_isAsExpected_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("printed");
    const auto row = [](const char *rule, const QString &text, const QString &printed) {
        QTest::newRow(rule) << text << printed;
    };
    const QString mark(QChar(QChar::ReplacementCharacter));
    row("empty", "", "");
    row("usual letters", QStringLiteral("a 文 é"), QStringLiteral("a 文 é"));
    row("letter beyond 16 bits", QString::fromUtf8("\xF0\x9F\x98\x80"),
        QString::fromUtf8("\xF0\x9F\x98\x80"));
    row("joined letters", QString::fromUtf8("\xE2\x80\x8D"), QString::fromUtf8("\xE2\x80\x8D"));
    row("line ends", "a\n\nb\n", "a\n\nb\n");
    row("escape", "a\033[2Jb", "a" + mark + "[2Jb");
    row("CR and TAB", "a\r\tb", "a" + mark + mark + "b");
    row("NUL", QString("a") + QChar(0) + "b", "a" + mark + "b");
    row("delete", "a\x7F", "a" + mark);
    row("control of the upper half", QString(QChar(0x9B)) + "2J", mark + "2J");
    for (const int code :
         {0x061C, 0x200E, 0x200F, 0x2028, 0x2029, 0x202A, 0x202E, 0x2066, 0x2069}) {
        QTest::newRow(qPrintable(QString::number(code, 16))) << QString(QChar(code)) << mark;
    }
    row("line of 2000", QString(2000, 'x'), QString(2000, 'x'));
    row("longer line", QString(2001, 'x'), QString(2000, 'x') + "...");
    row("one of several lines", "a\n" + QString(3000, 'x') + "\nb",
        "a\n" + QString(2000, 'x') + "...\nb");
    const QString wide = QString::fromUtf8("\xF0\x9F\x98\x80");
    row("cut before a letter of two halves", QString(1999, 'x') + wide + "x",
        QString(1999, 'x') + "...");
}

void tst_Messages::printable_text_isAsExpected()
{
    QFETCH(QString, text);
    QTEST(Printable(text), "printed");
}

void tst_Messages::messages_streams_areAsExpected()
{
    QProcess process;
    process.start(QStringLiteral(MESSAGES_DRIVER), QStringList());
    QVERIFY(process.waitForFinished());
    const QByteArray mark = QString(QChar(QChar::ReplacementCharacter)).toUtf8();
    QCOMPARE(process.readAllStandardOutput(), QByteArray("said\nin two lines\n"));
    QCOMPARE(process.readAllStandardError(),
             QByteArray("messages_driver: warning: of" + mark + "one line\n" +
                        "messages_driver: first" + mark + "\n" + "messages_driver: second\n" +
                        "messages_driver: usage\nin two lines\n"));
    QCOMPARE(process.exitCode(), 12); // 1 for a refusal, 2 for bad usage
}

QTEST_APPLESS_MAIN(tst_Messages)
#include "tst_messages.moc"
