// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "Stage.h"

#include <QFileInfo>
#include <QtTest>

/// What the portable implementation does of its own; the rules it shares are in the contract test.
class tst_PlatformServices : public QObject {
    Q_OBJECT

private slots:
    static void applicationHomePath_noHome_usesPasswordDatabase_data();
    static void applicationHomePath_noHome_usesPasswordDatabase();
    static void applicationHomePath_noHomeAnywhere_isNamedNull();
    static void applicationHomePath_propertyListChanged_keepsTheIdentifier();
    static void machineTexts_always_areEmpty();
    static void hideWindowCaptionBar_always_doesNothing();
};

namespace {

const QString driver = QStringLiteral(PORTABLE_DRIVER);

} // namespace

void tst_PlatformServices::applicationHomePath_noHome_usesPasswordDatabase_data()
{
    QTest::addColumn<bool>("isSet");
    QTest::newRow("HOME not set") << false;
    QTest::newRow("HOME empty") << true;
}

void tst_PlatformServices::applicationHomePath_noHome_usesPasswordDatabase()
{
    QFETCH(bool, isSet);
    Stage stage(driver);
    stage.writeInfo(InfoPlist(QStringLiteral("a.b.c"), QString()));
    stage.environment.remove(QStringLiteral("HOME"));
    if (isSet) {
        stage.environment.insert(QStringLiteral("HOME"), QString());
    }
    stage.environment.insert(QStringLiteral("PASSWORD_DATABASE_HOME"),
                             stage.path(QStringLiteral("users/one")));

    const RunResult run = stage.run({QStringLiteral("home")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(QString::fromUtf8(run.out),
             stage.fill(QStringLiteral("home={stage}/users/one/.a.b.c\n")));
    // Standard output stays the caller's; the log lines go the other way.
    QCOMPARE(
        QString::fromUtf8(run.err),
        stage.fill(QStringLiteral("createDirectoryAtPath:path={stage}/users/one/.a.b.c\n"
                                  "not sandboxed:path={stage}/users/one/.a.b.c,writable=1\n")));
}

void tst_PlatformServices::applicationHomePath_noHomeAnywhere_isNamedNull()
{
    Stage stage(driver);
    stage.writeInfo(InfoPlist(QStringLiteral("a.b.c"), QString()));
    stage.environment.remove(QStringLiteral("HOME"));

    const RunResult run = stage.run({QStringLiteral("home")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, QByteArray("home=(null)/.a.b.c\n"));
    QVERIFY(QFileInfo(stage.path(QStringLiteral("cwd/(null)/.a.b.c"))).isDir());
}

void tst_PlatformServices::applicationHomePath_propertyListChanged_keepsTheIdentifier()
{
    Stage stage(driver);
    stage.writeInfo(InfoPlist(QStringLiteral("a.b.c"), QStringLiteral("1.2.3")));

    const RunResult run = stage.run({QStringLiteral("version"), QStringLiteral("remove"),
                                     QStringLiteral("{stage}/Sample.app/Contents/Info.plist"),
                                     QStringLiteral("home"), QStringLiteral("number")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(
        QString::fromUtf8(run.out),
        stage.fill(QStringLiteral("version=1.2.3\nhome={stage}/home/.a.b.c\nnumber=1020003\n")));
}

void tst_PlatformServices::machineTexts_always_areEmpty()
{
    Stage stage(driver);
    const RunResult run = stage.run({QStringLiteral("disk id"), QStringLiteral("uuid"),
                                     QStringLiteral("disk id"), QStringLiteral("uuid")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, QByteArray("disk id=\nuuid=\ndisk id=\nuuid=\n"));
    QCOMPARE(run.err, QByteArray());
}

void tst_PlatformServices::hideWindowCaptionBar_always_doesNothing()
{
    Stage stage(driver);
    const RunResult run = stage.run({QStringLiteral("caption")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out + run.err, QByteArray());
}

QTEST_APPLESS_MAIN(tst_PlatformServices)
#include "tst_platformservices.moc"
