// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/ProgramStart.h"

#include "tests/support/TestFiles.h"

#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

/// What an old manifest lists is made executable if it begins like a program.
class tst_ProgramStart : public QObject {
    Q_OBJECT

private slots:
    static void beginning_tellsAProgram_data();
    static void beginning_tellsAProgram();
    static void file_becomesExecutable_forWhomMayReadIt_data();
    static void file_becomesExecutable_forWhomMayReadIt();
    static void file_missing_isLeftAlone();
};

void tst_ProgramStart::beginning_tellsAProgram_data()
{
    QTest::addColumn<QByteArray>("beginning");
    QTest::addColumn<bool>("isProgram");
    const auto rest = QByteArrayLiteral("\0\0\0\2");
    QTest::newRow("empty") << QByteArray() << false;
    QTest::newRow("script") << QByteArray("#!") << true;
    QTest::newRow("ELF") << QByteArray("\177ELF") << true;
    QTest::newRow("text") << QByteArray("some text") << false;
    QTest::newRow("too short for Mach-O") << QByteArray("\xFE\xED\xFA\xCF") << false;
    QTest::newRow("Mach-O, 32 bits") << QByteArray("\xFE\xED\xFA\xCE") + rest << true;
    QTest::newRow("Mach-O, 64 bits") << QByteArray("\xFE\xED\xFA\xCF") + rest << true;
    QTest::newRow("Mach-O, 32 bits, swapped") << QByteArray("\xCE\xFA\xED\xFE") + rest << true;
    QTest::newRow("Mach-O, 64 bits, swapped") << QByteArray("\xCF\xFA\xED\xFE") + rest << true;
    QTest::newRow("several in one") << QByteArray("\xCA\xFE\xBA\xBE") + rest << true;
    QTest::newRow("several of 64 bits") << QByteArray("\xCA\xFE\xBA\xBF") + rest << true;
    QTest::newRow("several, 44 of them")
        << QByteArray("\xCA\xFE\xBA\xBE") + QByteArrayLiteral("\0\0\0\x2C") << true;
    QTest::newRow("a Java class") << QByteArray("\xCA\xFE\xBA\xBE") +
                                         QByteArrayLiteral("\0\0\0\x2D")
                                  << false;
}

void tst_ProgramStart::beginning_tellsAProgram()
{
    QFETCH(QByteArray, beginning);
    QFETCH(bool, isProgram);
    QCOMPARE(BeginsLikeAProgram(beginning), isProgram);
}

void tst_ProgramStart::file_becomesExecutable_forWhomMayReadIt_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<uint>("before");
    QTest::addColumn<uint>("after");
    QTest::newRow("for all") << QByteArray("#!/bin/sh\n") << 0644U << 0755U;
    QTest::newRow("for the owner") << QByteArray("#!/bin/sh\n") << 0600U << 0700U;
    QTest::newRow("text") << QByteArray("text, no program\n") << 0644U << 0644U;
    QTest::newRow("empty") << QByteArray() << 0644U << 0644U;
}

void tst_ProgramStart::file_becomesExecutable_forWhomMayReadIt()
{
    QFETCH(QByteArray, content);
    QFETCH(uint, before);
    QFETCH(uint, after);
    const QTemporaryDir folder;
    const QByteArray path = QFile::encodeName(folder.filePath(QStringLiteral("file")));
    WriteFile(QFile::decodeName(path), content);
    QCOMPARE(::chmod(path.constData(), before), 0);
    MakeProgramExecutable(AT_FDCWD, path.constData());
    struct stat about {};
    QCOMPARE(::stat(path.constData(), &about), 0);
    QCOMPARE(about.st_mode & 07777U, after);
}

void tst_ProgramStart::file_missing_isLeftAlone()
{
    const QTemporaryDir folder;
    MakeProgramExecutable(AT_FDCWD,
                          QFile::encodeName(folder.filePath(QStringLiteral("none"))).constData());
    QVERIFY(QDir(folder.path()).isEmpty());
}

QTEST_APPLESS_MAIN(tst_ProgramStart)
#include "tst_programstart.moc"
