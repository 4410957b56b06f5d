// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "MacStage.h"

#include <QtTest>

/// The macOS module, run against stand-ins for the frameworks: the calls and log lines that a
/// scenario leads to, in order, and what is left unreleased. Its rules for the data directory and
/// for windows are tested in files beside this one, the rules that both implementations share in
/// the contract test.
class tst_MacModule : public QObject {
    Q_OBJECT

private slots:
    static void sandboxTest_statuses_decide_data();
    static void sandboxTest_statuses_decide();
    static void sandboxTest_noExecutableUrl_asksWithout();
    static void sandboxTest_secondCall_isNotMade();
    static void machineText_property_isRead_data();
    static void machineText_property_isRead();
    static void machineText_secondCall_isAnsweredFromTheFirst_data();
    static void machineText_secondCall_isAnsweredFromTheFirst();
    static void machineTexts_both_keepApart();
};

namespace {

const QByteArray sandboxStart = "check if app is sandboxed or not\n"
                                "CFBundleCopyExecutableURL(main bundle)\n"
                                "SecStaticCodeCreateWithPath(URL, 0)\n";
const QByteArray sandboxRequirement =
    "SecRequirementCreateWithString("
    "entitlement[\"com.apple.security.app-sandbox\"] exists, 0)\n";
const QByteArray sandboxValidity =
    "SecStaticCodeCheckValidityWithErrors(static code, 6, requirement, null)\n";

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
    QTest::newRow("no static code, positive status")
        << QStringLiteral("STATIC_CODE_STATUS") << QStringLiteral("1")
        << sandboxStart + "app is not sandboxed:no static code\nCFRelease(URL)\n"
        << false;
    QTest::newRow("no requirement")
        << QStringLiteral("REQUIREMENT_STATUS") << QStringLiteral("-67052")
        << sandboxStart + sandboxRequirement +
               "app is not sandboxed:no entitlement\nCFRelease(URL)\nCFRelease(static code)\n"
        << false;
    QTest::newRow("no requirement, positive status")
        << QStringLiteral("REQUIREMENT_STATUS") << QStringLiteral("1")
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
