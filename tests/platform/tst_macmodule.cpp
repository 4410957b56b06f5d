// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "Stage.h"

#include <QFileInfo>
#include <QtTest>

/// Every branch of the macOS module, run against stand-ins for the frameworks: the calls and log
/// lines that a scenario leads to, in order, and what is left unreleased. The rules that it shares
/// with the other implementation are in the contract test.
class tst_MacModule : public QObject {
    Q_OBJECT

private slots:
    static void sandboxTest_statuses_decide_data();
    static void sandboxTest_statuses_decide();
    static void sandboxTest_noExecutableUrl_asksWithout();
    static void sandboxTest_secondCall_isNotMade();
    static void sandboxed_home_isTheDataDirectory_data();
    static void sandboxed_home_isTheDataDirectory();
    static void sandboxed_noHome_isTheWorkingDirectory();
    static void sandboxed_noHomeAndLongWorkingDirectory_isEmpty();
    static void notSandboxed_noHome_isNamedNull();
    static void hideWindowCaptionBar_view_isTreatedInOrder();
    static void machineText_property_isRead_data();
    static void machineText_property_isRead();
    static void machineText_secondCall_isAnsweredFromTheFirst_data();
    static void machineText_secondCall_isAnsweredFromTheFirst();
    static void machineTexts_both_keepApart();
};

namespace {

const QString driver = QStringLiteral(MAC_DRIVER);

const QByteArray sandboxStart = "check if app is sandboxed or not\n"
                                "CFBundleCopyExecutableURL(main bundle)\n"
                                "SecStaticCodeCreateWithPath(URL, 0)\n";
const QByteArray sandboxRequirement =
    "SecRequirementCreateWithString("
    "entitlement[\"com.apple.security.app-sandbox\"] exists, 0)\n";
const QByteArray sandboxValidity =
    "SecStaticCodeCheckValidityWithErrors(static code, 6, requirement, null)\n";

// A stage for the module, whose answers are set by name.
class MacStage : public Stage {
public:
    MacStage() : Stage(driver) { writeInfo(InfoPlist(QStringLiteral("a.b.c"), QString())); }

    void set(const char *name, const QString &value)
    {
        environment.insert(QString::fromUtf8(name), value);
    }
};

} // namespace

void tst_MacModule::sandboxTest_statuses_decide_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QByteArray>("calls");
    QTest::addColumn<bool>("sandboxed");
    QTest::newRow("no static code")
        << QStringLiteral("STATIC_CODE_STATUS") << QStringLiteral("-67068")
        << sandboxStart + "app is not sandboxed:no static code\nCFRelease(URL)\n"
        << false;
    QTest::newRow("no requirement")
        << QStringLiteral("REQUIREMENT_STATUS") << QStringLiteral("-67052")
        << sandboxStart + sandboxRequirement +
               "app is not sandboxed:no entitlement\nCFRelease(URL)\nCFRelease(static code)\n"
        << false;
    QTest::newRow("requirement not met")
        << QStringLiteral("VALIDITY_STATUS") << QStringLiteral("-67050")
        << sandboxStart + sandboxRequirement + sandboxValidity +
               "app is not sandboxed\n"
               "CFRelease(URL)\nCFRelease(static code)\nCFRelease(requirement)\n"
        << false;
    QTest::newRow("any other status is not met either")
        << QStringLiteral("VALIDITY_STATUS") << QStringLiteral("1")
        << sandboxStart + sandboxRequirement + sandboxValidity +
               "app is not sandboxed\n"
               "CFRelease(URL)\nCFRelease(static code)\nCFRelease(requirement)\n"
        << false;
    QTest::newRow("requirement met")
        << QStringLiteral("VALIDITY_STATUS") << QStringLiteral("0")
        << sandboxStart + sandboxRequirement + sandboxValidity +
               "app is sandboxed\n"
               "CFRelease(URL)\nCFRelease(static code)\nCFRelease(requirement)\n"
        << true;
}

void tst_MacModule::sandboxTest_statuses_decide()
{
    QFETCH(QString, variable);
    QFETCH(QString, status);
    QFETCH(QByteArray, calls);
    QFETCH(bool, sandboxed);
    MacStage stage;
    stage.environment.insert(variable, status);

    const RunResult run = stage.run({QStringLiteral("home")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    const QString rest =
        sandboxed ? QStringLiteral("sandboxed:path={stage}/home\n")
                  : QStringLiteral("createDirectoryAtPath:path={stage}/home/.a.b.c\n"
                                   "not sandboxed:path={stage}/home/.a.b.c,writable=1\n");
    QCOMPARE(QString::fromUtf8(run.err),
             QString::fromUtf8(calls) + stage.fill(rest) + QStringLiteral("live objects: 0\n"));
    QCOMPARE(QString::fromUtf8(run.out),
             stage.fill(sandboxed ? QStringLiteral("home={stage}/home\n")
                                  : QStringLiteral("home={stage}/home/.a.b.c\n")));
}

void tst_MacModule::sandboxTest_noExecutableUrl_asksWithout()
{
    MacStage stage;
    stage.set("EXECUTABLE_URL", QStringLiteral("none"));
    stage.set("STATIC_CODE_STATUS", QStringLiteral("-67061"));

    const RunResult run = stage.run({QStringLiteral("home")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QVERIFY2(run.err.startsWith("check if app is sandboxed or not\n"
                                "CFBundleCopyExecutableURL(main bundle)\n"
                                "SecStaticCodeCreateWithPath(null, 0)\n"
                                "app is not sandboxed:no static code\n"
                                "createDirectoryAtPath:"),
             run.err.constData());
}

void tst_MacModule::sandboxTest_secondCall_isNotMade()
{
    MacStage stage;
    stage.set("VALIDITY_STATUS", QStringLiteral("0"));

    const RunResult run = stage.run({QStringLiteral("home"), QStringLiteral("change HOME"),
                                     QStringLiteral("{stage}/else"), QStringLiteral("home")});

    QCOMPARE(QString::fromUtf8(run.out),
             stage.fill(QStringLiteral("home={stage}/home\nhome={stage}/home\n")));
    QCOMPARE(run.err.count("check if app is sandboxed or not"), 1);
    QCOMPARE(run.err.count("sandboxed:path="), 1);
}

void tst_MacModule::sandboxed_home_isTheDataDirectory_data()
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

void tst_MacModule::sandboxed_home_isTheDataDirectory()
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

void tst_MacModule::sandboxed_noHome_isTheWorkingDirectory()
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

void tst_MacModule::sandboxed_noHomeAndLongWorkingDirectory_isEmpty()
{
    MacStage stage;
    stage.set("VALIDITY_STATUS", QStringLiteral("0"));
    stage.environment.remove(QStringLiteral("HOME"));
    const QString folder = (QLatin1Char('/') + QString(200, QLatin1Char('x'))).repeated(3);
    stage.makeFolder(QStringLiteral("{stage}") + folder);

    const RunResult run = stage.run(
        {QStringLiteral("go to"), QStringLiteral("{stage}") + folder, QStringLiteral("home")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, QByteArray("home=\n"));
}

void tst_MacModule::notSandboxed_noHome_isNamedNull()
{
    MacStage stage;
    stage.environment.remove(QStringLiteral("HOME"));

    const RunResult run = stage.run({QStringLiteral("home")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, QByteArray("home=(null)/.a.b.c\n"));
    QVERIFY(QFileInfo(stage.path(QStringLiteral("cwd/(null)/.a.b.c"))).isDir());
}

void tst_MacModule::hideWindowCaptionBar_view_isTreatedInOrder()
{
    MacStage stage;

    const RunResult run = stage.run({QStringLiteral("caption")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    // The window's mask is 0x1f before.
    QCOMPARE(run.err, "window\n"
                      "setTitleVisibility:1\n"
                      "setTitlebarAppearsTransparent:1\n"
                      "setStyleMask:" +
                          QByteArray::number(0x801f) +
                          "\n"
                          "standardWindowButton:0\nbutton 0 setHidden:1\n"
                          "standardWindowButton:2\nbutton 2 setHidden:1\n"
                          "standardWindowButton:1\nbutton 1 setHidden:1\n"
                          "live objects: 0\n");
}

void tst_MacModule::machineText_property_isRead_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("property");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("conversion"); // and release
    const auto rows = [](const QString &command, int size) {
        const auto row = [&command](const char *rule, const QString &property,
                                    const QByteArray &text, const QByteArray &conversion) {
            QTest::addRow("%s: %s", qPrintable(command), rule)
                << command << property << text << conversion;
        };
        const QByteArray converted = "CFStringGetCString(text property, " +
                                     QByteArray::number(size) +
                                     ", UTF-8)\nCFRelease(text property)\n";
        const QByteArray data = "CFRelease(data property)\n";
        const QByteArray longest(size, 'x');
        const QString longestText = QString::fromUtf8(longest);
        row("text", QStringLiteral("text:C02X 序"), "C02X 序", converted);
        row("empty text", QStringLiteral("text:"), "", converted);
        row("longest text", QStringLiteral("text:") + longestText.mid(1), longest.mid(1),
            converted);
        row("too long a text", QStringLiteral("text:") + longestText + QStringLiteral("yz"),
            longest, converted);
        row("data", QStringLiteral("data:C02X"), "C02X", data);
        row("no data", QStringLiteral("data:"), "", data);
        row("data that fills the buffer", QStringLiteral("data:") + longestText, longest, data);
        row("another type", QStringLiteral("other"), "", "CFRelease(other property)\n");
        row("no property", QStringLiteral("none"), "", "");
    };
    rows(QStringLiteral("disk id"), 256);
    rows(QStringLiteral("uuid"), 512);
}

void tst_MacModule::machineText_property_isRead()
{
    QFETCH(QString, command);
    QFETCH(QString, property);
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, conversion);
    MacStage stage;
    stage.set("PROPERTY", property);

    const RunResult run = stage.run({command});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, command.toUtf8() + '=' + text + '\n');
    const QByteArray key =
        command == QStringLiteral("uuid") ? "IOPlatformUUID" : "IOPlatformSerialNumber";
    QCOMPARE(run.err, "IOServiceGetMatchingService(0, matching IOPlatformExpertDevice)\n"
                      "IORegistryEntryCreateCFProperty(42, " +
                          key +
                          ", default allocator, 0)\n"
                          "IOObjectRelease(42)\n" +
                          conversion + "live objects: 0\n");
}

void tst_MacModule::machineText_secondCall_isAnsweredFromTheFirst_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("service");
    QTest::addColumn<QByteArray>("text");
    for (const char *command : {"disk id", "uuid"}) {
        const QString name = QString::fromUtf8(command);
        QTest::addRow("%s: service found", command) << name << QString() << QByteArray("one");
        QTest::addRow("%s: no service", command) << name << QStringLiteral("none") << QByteArray();
    }
}

void tst_MacModule::machineText_secondCall_isAnsweredFromTheFirst()
{
    QFETCH(QString, command);
    QFETCH(QString, service);
    QFETCH(QByteArray, text);
    MacStage stage;
    stage.set("SERVICE", service);
    stage.set("PROPERTY", QStringLiteral("text:one"));

    const RunResult run = stage.run({command, command});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    const QByteArray line = command.toUtf8() + '=' + text + '\n';
    QCOMPARE(run.out, line + line);
    QCOMPARE(run.err.count("IOServiceGetMatchingService"), 1);
    QCOMPARE(run.err.count("IORegistryEntryCreateCFProperty"), service.isEmpty() ? 1 : 0);
    QCOMPARE(run.err.count("IOObjectRelease"), service.isEmpty() ? 1 : 0);
    QVERIFY(run.err.endsWith("live objects: 0\n"));
}

void tst_MacModule::machineTexts_both_keepApart()
{
    MacStage stage;
    stage.set("PROPERTY", QStringLiteral("data:") + QString(256, QLatin1Char('x')));

    const RunResult run = stage.run({QStringLiteral("uuid"), QStringLiteral("disk id"),
                                     QStringLiteral("uuid"), QStringLiteral("home")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    const QByteArray text(256, 'x');
    QCOMPARE(run.out, "uuid=" + text + "\ndisk id=" + text + "\nuuid=" + text + "\nhome=" +
                          QFile::encodeName(stage.path(QStringLiteral("home/.a.b.c"))) + '\n');
    QCOMPARE(run.err.count("IOServiceGetMatchingService"), 2);
}

QTEST_APPLESS_MAIN(tst_MacModule)
#include "tst_macmodule.moc"
