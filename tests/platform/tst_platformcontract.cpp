// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "PlatformCases.h"
#include "Stage.h"

#include <QFileInfo>
#include <QtTest>

/// What every implementation of the platform services does alike. Each case is one process, run
/// once for each of the implementations.
class tst_PlatformContract : public QObject {
    Q_OBJECT

private slots:
    static void applicationHomePath_case_isAsRuled_data();
    static void applicationHomePath_case_isAsRuled();
    static void applicationHomePath_longText_isCutAt512_data();
    static void applicationHomePath_longText_isCutAt512();
    static void getMainExecutableVersion_text_isEncoded_data();
    static void getMainExecutableVersion_text_isEncoded();
    static void getMainExecutableVersion_notText_isNull_data();
    static void getMainExecutableVersion_notText_isNull();
    static void getMainExecutableVersion_otherVersionKey_doesNotCount_data();
    static void getMainExecutableVersion_otherVersionKey_doesNotCount();
};

namespace {

struct Implementation {
    const char *name;
    QString driver;
};

QList<Implementation> Implementations()
{
    QList<Implementation> list;
#ifdef PORTABLE_DRIVER
    list.append({"portable", QStringLiteral(PORTABLE_DRIVER)});
#endif
#ifdef MAC_DRIVER
    list.append({"macOS", QStringLiteral(MAC_DRIVER)});
#endif
    return list;
}

// The lines that tell where the data directory lies; the others are an implementation's own.
QByteArray FolderLines(const QByteArray &log)
{
    // A real NSLog() puts time and process in front.
    static const QRegularExpression stamp(QStringLiteral("^\\d{4}-\\d\\d-\\d\\d [^\\]]*\\] "));
    QByteArray kept;
    for (const QString &whole : QString::fromUtf8(log).split(QLatin1Char('\n'))) {
        const QByteArray line = QString(whole).remove(stamp).toUtf8();
        if (line.startsWith("createDirectoryAtPath:") || line.startsWith("not sandboxed:")) {
            kept += line + '\n';
        }
    }
    return kept;
}

} // namespace

void tst_PlatformContract::applicationHomePath_case_isAsRuled_data()
{
    QTest::addColumn<QString>("driver");
    QTest::addColumn<HomeCase>("given");
    for (const Implementation &implementation : Implementations()) {
        for (const HomeCase &given : HomeCases()) {
            QTest::addRow("%s: %s", implementation.name, given.rule)
                << implementation.driver << given;
        }
    }
}

void tst_PlatformContract::applicationHomePath_case_isAsRuled()
{
    QFETCH(QString, driver);
    QFETCH(HomeCase, given);
    Stage stage(driver);
    stage.writeInfo(InfoPlist(given.identifier, QStringLiteral("1.2.3")));
    stage.environment.insert(QStringLiteral("HOME"), stage.fill(given.home));
    for (const QString &folder : given.folders) {
        stage.makeFolder(folder);
    }
    for (const QString &file : given.files) {
        stage.makeFile(file);
    }
    for (const QString &name : given.locked) {
        QVERIFY(QFile::setPermissions(stage.path(name), QFile::ReadOwner | QFile::ExeOwner));
    }

    const RunResult run = stage.run(given.commands);

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(QString::fromUtf8(run.out), stage.fill(given.out));
    QCOMPARE(QString::fromUtf8(FolderLines(run.err)), stage.fill(given.log));
    for (const QString &folder : given.made) {
        QVERIFY2(QFileInfo(stage.path(folder)).isDir(), qPrintable(folder));
    }
    for (const QString &name : given.absent) {
        QVERIFY2(!QFileInfo::exists(stage.path(name)), qPrintable(name));
    }
}

void tst_PlatformContract::applicationHomePath_longText_isCutAt512_data()
{
    QTest::addColumn<QString>("driver");
    QTest::addColumn<QByteArray>("letter");
    QTest::addColumn<int>("length");
    for (const Implementation &implementation : Implementations()) {
        for (const int length : {510, 511, 512, 513, 900}) {
            QTest::addRow("%s: %d bytes", implementation.name, length)
                << implementation.driver << QByteArray("x") << length;
        }
        QTest::addRow("%s: cut inside a letter", implementation.name)
            << implementation.driver << QByteArray("家") << 900;
    }
}

void tst_PlatformContract::applicationHomePath_longText_isCutAt512()
{
    QFETCH(QString, driver);
    QFETCH(QByteArray, letter);
    QFETCH(int, length);
    Stage stage(driver);
    stage.writeInfo(InfoPlist(QStringLiteral("a.b.c"), QString()));
    const QByteArray hidden("/.a.b.c");
    QByteArray home = QFile::encodeName(stage.path(QStringLiteral("home")));
    // As many folders of up to 60 letters as it takes, the first one filling up the length.
    const int missing = length - home.size() - hidden.size() - 1;
    home += '/' + QByteArray(missing % (60 * letter.size() + 1), 'a');
    while (home.size() + hidden.size() < length) {
        home += '/' + letter.repeated(60);
    }
    stage.environment.insert(QStringLiteral("HOME"), QFile::decodeName(home));
    const QByteArray whole = home + hidden;
    QCOMPARE(whole.size(), length);

    const RunResult run = stage.run({QStringLiteral("home"), QStringLiteral("home length")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, "home=" + whole.left(512) +
                          "\nhome length=" + QByteArray::number(qMin(length, 512)) + '\n');
    QCOMPARE(FolderLines(run.err), "createDirectoryAtPath:path=" + whole +
                                       "\nnot sandboxed:path=" + whole + ",writable=1\n");
    QVERIFY(QFileInfo(QFile::decodeName(whole)).isDir());
}

void tst_PlatformContract::getMainExecutableVersion_text_isEncoded_data()
{
    QTest::addColumn<QString>("driver");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("number");
    for (const Implementation &implementation : Implementations()) {
        for (const VersionCase &given : VersionCases()) {
            QTest::addRow("%s: %s", implementation.name, given.rule)
                << implementation.driver << given.text << given.number;
        }
    }
}

void tst_PlatformContract::getMainExecutableVersion_text_isEncoded()
{
    QFETCH(QString, driver);
    QFETCH(QString, text);
    QFETCH(int, number);
    Stage stage(driver);
    stage.writeInfo(InfoPlist(QStringLiteral("a.b.c"), text));

    // The property list is gone when it would be read again.
    const RunResult run = stage.run({QStringLiteral("version"), QStringLiteral("remove"),
                                     QStringLiteral("{stage}/Sample.app/Contents/Info.plist"),
                                     QStringLiteral("version"), QStringLiteral("number")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    const QString shown = text.isNull() ? QStringLiteral("(null)") : text;
    QCOMPARE(QString::fromUtf8(run.out),
             QStringLiteral("version=%1\nversion=%1\nnumber=%2\n").arg(shown).arg(number));
}

void tst_PlatformContract::getMainExecutableVersion_notText_isNull_data()
{
    QTest::addColumn<QString>("driver");
    QTest::addColumn<QByteArray>("value");
    for (const Implementation &implementation : Implementations()) {
        for (const char *value : {"<integer>5</integer>", "<real>5.1</real>", "<true/>",
                                  "<array><string>1.2.3</string></array>"}) {
            QTest::addRow("%s: %s", implementation.name, value)
                << implementation.driver << QByteArray(value);
        }
    }
}

void tst_PlatformContract::getMainExecutableVersion_notText_isNull()
{
    QFETCH(QString, driver);
    QFETCH(QByteArray, value);
    Stage stage(driver);
    stage.writeInfo(InfoPlist("<key>CFBundleShortVersionString</key>" + value + '\n'));

    const RunResult run = stage.run({QStringLiteral("version"), QStringLiteral("number")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, QByteArray("version=(null)\nnumber=0\n"));
}

void tst_PlatformContract::getMainExecutableVersion_otherVersionKey_doesNotCount_data()
{
    QTest::addColumn<QString>("driver");
    for (const Implementation &implementation : Implementations()) {
        QTest::newRow(implementation.name) << implementation.driver;
    }
}

void tst_PlatformContract::getMainExecutableVersion_otherVersionKey_doesNotCount()
{
    QFETCH(QString, driver);
    Stage stage(driver);
    stage.writeInfo(InfoPlist("<key>CFBundleVersion</key><string>1.2.3</string>\n"));

    const RunResult run = stage.run({QStringLiteral("version"), QStringLiteral("number")});

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(run.out, QByteArray("version=(null)\nnumber=0\n"));
}

QTEST_APPLESS_MAIN(tst_PlatformContract)
#include "tst_platformcontract.moc"
