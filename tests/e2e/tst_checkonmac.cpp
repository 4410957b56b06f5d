// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Desktop.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

/// The steps of scripts/check_on_mac.sh that need no Mac.
class tst_CheckOnMac : public QObject {
    Q_OBJECT

private slots:
    void steps_withoutAMac_hold();
    void commandLine_wrong_isRefused_data();
    void commandLine_wrong_isRefused();
};

void tst_CheckOnMac::steps_withoutAMac_hold()
{
    Desktop desktop;
    QVERIFY(desktop.isUp());
    const QTemporaryDir folder;
    ChildProcess script;
    script.setProcessEnvironment(desktop.shownIn(QProcessEnvironment::systemEnvironment()));
    script.start(QStringLiteral(SCRIPT),
                 {QStringLiteral("--updater"), QStringLiteral(UPDATER), QStringLiteral("--port"),
                  QString::number(UPDATER_PORT), QStringLiteral("--folder"), folder.path()});
    const QString notice = desktop.waitForWindow(QStringLiteral("CUpdateNotice"));
    const bool shown = !notice.isEmpty();
    if (shown) {
        desktop.press(notice, QStringLiteral("Escape"));
    }
    QVERIFY(script.waitForFinished());
    const QByteArray said = script.readAllStandardOutput() + script.readAllStandardError();
    QVERIFY2(shown, said.constData());
    QVERIFY2(script.exitCode() == 0, said.constData());
    QVERIFY2(!said.contains("NOT OK"), said.constData());
    QCOMPARE(said.count("  ok  "), 9);
    QVERIFY(!QDir(QDir::homePath() + QStringLiteral("/.com.example.updater-check")).exists());
}

void tst_CheckOnMac::commandLine_wrong_isRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("unknown") << QStringList(QStringLiteral("--nothing"));
    QTest::newRow("without its value") << QStringList(QStringLiteral("--port"));
}

void tst_CheckOnMac::commandLine_wrong_isRefused()
{
    QFETCH(QStringList, arguments);
    QCOMPARE(QProcess::execute(QStringLiteral(SCRIPT), arguments), 2);
}

QTEST_GUILESS_MAIN(tst_CheckOnMac)
#include "tst_checkonmac.moc"
