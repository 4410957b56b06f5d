// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "MacStage.h"

#include <QFileInfo>
#include <QtTest>

/// The data directory as the macOS module alone chooses it, in the sandbox and without a home.
class tst_MacModuleHome : public QObject {
    Q_OBJECT

private slots:
    static void sandboxed_home_isTheDataDirectory_data();
    static void sandboxed_home_isTheDataDirectory();
    static void sandboxed_noHome_isTheWorkingDirectory();
    static void sandboxed_noHome_workingDirectoryMustFit_data();
    static void sandboxed_noHome_workingDirectoryMustFit();
    static void notSandboxed_noHome_isNamedNull();
    static void notSandboxed_tries_haveNoLimitAndGatherNothing();
};

void tst_MacModuleHome::sandboxed_home_isTheDataDirectory_data()
{
    QTest::addColumn<QString>("home");
    QTest::addColumn<bool>("exists");
    QTest::newRow("missing folder is not made") << QStringLiteral("{stage}/none") << false;
    QTest::newRow("existing folder stays empty") << QStringLiteral("{stage}/home") << true;
    QTest::newRow("Chinese letters and blanks") << QStringLiteral("{stage}/用户 主目录") << false;
    QTest::newRow("text of 511 bytes") << QString(511, QLatin1Char('x')) << false;
    QTest::newRow("text of 512 bytes") << QString(512, QLatin1Char('x')) << false;
    QTest::newRow("text of 513 bytes") << QString(513, QLatin1Char('x')) << false;
    QTest::newRow("text of 5000 bytes") << QString(5000, QLatin1Char('x')) << false;
}

void tst_MacModuleHome::sandboxed_home_isTheDataDirectory()
{
    QFETCH(QString, home);
    QFETCH(bool, exists);
    MacStage stage;
    stage.set("VALIDITY_STATUS", QStringLiteral("0"));
    stage.set("HOME", stage.fill(home));

    const RunResult run = stage.run({QStringLiteral("home")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, "home=" + stage.fill(home).toUtf8().left(512) + '\n');
    QVERIFY(run.err.contains("\nsandboxed:path=" + stage.fill(home).toUtf8() + '\n'));
    QVERIFY(!run.err.contains("createDirectoryAtPath"));
    QCOMPARE(QFileInfo::exists(stage.path(home)), exists);
    QVERIFY(!QFileInfo::exists(stage.path(home + QStringLiteral("/.a.b.c"))));
}

void tst_MacModuleHome::sandboxed_noHome_isTheWorkingDirectory()
{
    MacStage stage;
    stage.set("VALIDITY_STATUS", QStringLiteral("0"));
    stage.environment.remove(QStringLiteral("HOME"));

    const RunResult run = stage.run({QStringLiteral("home"), QStringLiteral("go to"),
                                     QStringLiteral("{stage}"), QStringLiteral("home")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QVERIFY2(run.err.contains("\nsandboxed:path=(null)\n"), run.err.constData());
    QCOMPARE(QString::fromUtf8(run.out),
             stage.fill(QStringLiteral("home={stage}/cwd\nhome={stage}/cwd\n")));
}

void tst_MacModuleHome::sandboxed_noHome_workingDirectoryMustFit_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<bool>("fits"); // into 512 bytes, its end included
    for (const int length : {510, 511, 512, 513, 700}) {
        QTest::addRow("%d bytes", length) << length << (length < 512);
    }
}

void tst_MacModuleHome::sandboxed_noHome_workingDirectoryMustFit()
{
    QFETCH(int, length);
    QFETCH(bool, fits);
    MacStage stage;
    stage.set("VALIDITY_STATUS", QStringLiteral("0"));
    stage.environment.remove(QStringLiteral("HOME"));
    QString folder = stage.fill(QStringLiteral("{stage}"));
    while (folder.size() < length - 200) {
        folder += QLatin1Char('/') + QString(99, QLatin1Char('x'));
    }
    folder += QLatin1Char('/') + QString(length - folder.size() - 1, QLatin1Char('y'));
    QCOMPARE(folder.size(), length);
    stage.makeFolder(folder);

    const RunResult run = stage.run({QStringLiteral("go to"), folder, QStringLiteral("home")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, "home=" + (fits ? folder.toLatin1() : QByteArray()) + '\n');
}

void tst_MacModuleHome::notSandboxed_noHome_isNamedNull()
{
    MacStage stage;
    stage.environment.remove(QStringLiteral("HOME"));

    const RunResult run = stage.run({QStringLiteral("home")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, QByteArray("home=(null)/.a.b.c\n"));
    QVERIFY(QFileInfo(stage.path(QStringLiteral("cwd/(null)/.a.b.c"))).isDir());
}

void tst_MacModuleHome::notSandboxed_tries_haveNoLimitAndGatherNothing()
{
    MacStage stage;
    stage.set("TRIES", QStringLiteral("5000"));

    const RunResult run = stage.run({QStringLiteral("home")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, "home=" + QByteArray(512, '.') + '\n');
    QVERIFY(run.err.contains("not sandboxed:path=" + QByteArray(4999, '.') + '/'));
    QList<QByteArray> objects;
    for (const QByteArray &line : run.err.split('\n')) {
        if (line.startsWith("objects: ")) {
            objects.append(line);
        }
    }
    QCOMPARE(objects.size(), 2);
    QCOMPARE(objects.last(), objects.first());
}

QTEST_APPLESS_MAIN(tst_MacModuleHome)
#include "tst_macmodule_home.moc"
