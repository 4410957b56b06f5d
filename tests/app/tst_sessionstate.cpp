// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/HostBundle.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

/// Start-up, by a program that prints what it found out.
class tst_SessionState : public QObject {
    Q_OBJECT

private slots:
    void startUp_folderOfExecutable_givesInstallationRoot_data();
    void startUp_folderOfExecutable_givesInstallationRoot();
    void startUp_bundle_givesVersionAndDirectories();
    void startUp_command_isComparedInAnyCase();
    void startUp_config_givesHostName_data();
    void startUp_config_givesHostName();
    void startUp_configIsDirectory_givesDefault();
    void startUp_configUnreadable_givesDefault();
    void startUp_updateIsFile_isLeftAlone();
    static void startUp_noDataDirectory_usesTheWorkingDirectory();

private:
    static QJsonObject startUp(const HostBundle &bundle);
};

QJsonObject tst_SessionState::startUp(const HostBundle &bundle)
{
    const std::unique_ptr<QProcess> driver = bundle.start({}, bundle.environment());
    if (!driver->waitForFinished() || driver->exitCode() != 0) {
        return {};
    }
    return QJsonDocument::fromJson(driver->readAllStandardOutput()).object();
}

void tst_SessionState::startUp_folderOfExecutable_givesInstallationRoot_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("root");
    const auto row = [](const char *folder, const char *root) {
        QTest::newRow(folder) << QString::fromUtf8(folder) << QString::fromUtf8(root);
    };
    row("app/bin", "app");
    row("app/BIN", "app");
    row("app/Bin", "app");
    row("app/bin2", "app/bin2");
    row("app/bin/x", "app/bin/x");
    row("app/应用/bin", "app/应用");
}

void tst_SessionState::startUp_folderOfExecutable_givesInstallationRoot()
{
    QFETCH(QString, folder);
    QFETCH(QString, root);
    const QTemporaryDir place;
    const QDir base(place.path());
    QVERIFY(base.mkpath(folder) && base.mkpath(QStringLiteral("home")));
    const QString program = base.absoluteFilePath(folder + QStringLiteral("/updater"));
    QVERIFY(QFile::copy(QStringLiteral(SESSION_STATE_DRIVER), program));

    QProcess driver;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("HOME"), base.absoluteFilePath(QStringLiteral("home")));
    driver.setProcessEnvironment(environment);
    driver.start(program, {});
    QVERIFY(driver.waitForFinished());
    const QJsonObject state = QJsonDocument::fromJson(driver.readAllStandardOutput()).object();
    QCOMPARE(state.value(QLatin1String("applicationDir")).toString(),
             base.absoluteFilePath(folder));
    QCOMPARE(state.value(QLatin1String("installationRoot")).toString(),
             base.absoluteFilePath(root));
}

void tst_SessionState::startUp_bundle_givesVersionAndDirectories()
{
    const HostBundle bundle(QStringLiteral(SESSION_STATE_DRIVER));
    bundle.setVersion(QStringLiteral("3.10.25"));
    const QString updateDir = bundle.dataDir() + QStringLiteral("/update");
    QVERIFY(!QFile::exists(updateDir));

    const QJsonObject state = startUp(bundle);
    QCOMPARE(state.value(QLatin1String("hostVersion")).toInt(), 3100025);
    QCOMPARE(state.value(QLatin1String("hostVersionText")).toString(), QStringLiteral("3.10.25"));
    QCOMPARE(state.value(QLatin1String("applicationDir")).toString(), bundle.macOsDir());
    QCOMPARE(state.value(QLatin1String("installationRoot")).toString(), bundle.macOsDir());
    QCOMPARE(state.value(QLatin1String("homeDir")).toString(), bundle.dataDir());
    QCOMPARE(state.value(QLatin1String("updateDir")).toString(), updateDir);
    QCOMPARE(state.value(QLatin1String("baseUrl")).toString(), QStringLiteral("https://base"));
    QCOMPARE(state.value(QLatin1String("descriptionName")).toString(), QStringLiteral("name.json"));
    QVERIFY(QFileInfo(updateDir).isDir());
}

void tst_SessionState::startUp_command_isComparedInAnyCase()
{
    const HostBundle bundle(QStringLiteral(SESSION_STATE_DRIVER));
    const QJsonObject state = startUp(bundle); // its command is "ConSole"
    QCOMPARE(state.value(QLatin1String("isConsole")), QJsonValue(true));
    QCOMPARE(state.value(QLatin1String("isRestart")), QJsonValue(false));
}

void tst_SessionState::startUp_config_givesHostName_data()
{
    QTest::addColumn<QByteArray>("config");
    QTest::addColumn<QString>("name");
    const auto row = [](const char *name, const QByteArray &config, const char *exeName) {
        QTest::newRow(name) << config << QString::fromUtf8(exeName);
    };
    row("no key", "", "Host.exe");
    row("without group", "ExeName=Kestrel\n", "Kestrel");
    row("in the General group", "[General]\nExeName=Kestrel\n", "Kestrel");
    row("in another group", "[Other]\nExeName=Kestrel\n", "Host.exe");
    row("without line end", "ExeName=Kestrel", "Kestrel");
    row("CR LF", "ExeName=Kestrel\r\nOther=1\r\n", "Kestrel");
    row("empty", "ExeName=\n", "");
    row("absolute", "ExeName=/usr/bin/kestrel\n", "/usr/bin/kestrel");
    row("blanks", "ExeName=My Host App\n", "My Host App");
    row("quoted blanks around it", "ExeName=\" My Host \"\n", " My Host ");
    row("quoted comma", "ExeName=\"a, b\"\n", "a, b");
    row("unquoted comma is a list, and no text", "ExeName=a, b\n", "");
    // Our choice: the file is UTF-8, whatever the locale.
    row("Chinese", "ExeName=红隼\n", "红隼");
    row("given twice: the later one", "ExeName=a\nExeName=b\n", "b");
    row("rubbish", QByteArray("\x00\xff\xfe\x80]]][[=\n\x01\x02", 12), "Host.exe");
}

void tst_SessionState::startUp_config_givesHostName()
{
    QFETCH(QByteArray, config);
    QFETCH(QString, name);
    const HostBundle bundle(QStringLiteral(SESSION_STATE_DRIVER));
    bundle.writeConfig(config);
    const QJsonObject state = startUp(bundle);
    QVERIFY(!state.isEmpty());
    QCOMPARE(state.value(QLatin1String("exeName")).toString(), name);
}

void tst_SessionState::startUp_configIsDirectory_givesDefault()
{
    const HostBundle bundle(QStringLiteral(SESSION_STATE_DRIVER));
    QVERIFY(QDir(bundle.macOsDir()).mkdir(QStringLiteral("system.cfg")));
    QCOMPARE(startUp(bundle).value(QLatin1String("exeName")).toString(),
             QStringLiteral("Host.exe"));
}

void tst_SessionState::startUp_configUnreadable_givesDefault()
{
    // A link to itself cannot be read by anybody, root included.
    const HostBundle bundle(QStringLiteral(SESSION_STATE_DRIVER));
    const QString config = bundle.macOsDir() + QStringLiteral("/system.cfg");
    QVERIFY(QFile::link(config, config));
    QCOMPARE(startUp(bundle).value(QLatin1String("exeName")).toString(),
             QStringLiteral("Host.exe"));
}

void tst_SessionState::startUp_updateIsFile_isLeftAlone()
{
    const HostBundle bundle(QStringLiteral(SESSION_STATE_DRIVER));
    QVERIFY(QDir().mkpath(bundle.dataDir()));
    const QString updateDir = bundle.dataDir() + QStringLiteral("/update");
    WriteFile(updateDir, "mine");
    QCOMPARE(startUp(bundle).value(QLatin1String("updateDir")).toString(), updateDir);
    QCOMPARE(ReadFile(updateDir), QByteArray("mine"));
}

void tst_SessionState::startUp_noDataDirectory_usesTheWorkingDirectory()
{
    const HostBundle bundle(QStringLiteral(SESSION_STATE_DRIVER_NO_HOME));
    const QJsonObject state = startUp(bundle);
    const QString work = QDir(bundle.path(QStringLiteral("work"))).canonicalPath();
    QCOMPARE(state.value(QLatin1String("updateDir")).toString(), work + QStringLiteral("/update"));
    QVERIFY(QFileInfo(work + QStringLiteral("/update")).isDir());
    QCOMPARE(state.value(QLatin1String("hostVersionText")).toString(), QString());
}

QTEST_GUILESS_MAIN(tst_SessionState)
#include "tst_sessionstate.moc"
