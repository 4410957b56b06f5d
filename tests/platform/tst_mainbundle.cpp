// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "Stage.h"

#include <QDir>
#include <QFileInfo>
#include <QtTest>

#include <sys/stat.h>

/// Where the portable implementation looks for the bundle's property list, and what it makes of it.
class tst_MainBundle : public QObject {
    Q_OBJECT

private slots:
    static void mainBundle_place_decidesThePropertyList_data();
    static void mainBundle_place_decidesThePropertyList();
    static void mainBundle_propertyList_isRead_data();
    static void mainBundle_propertyList_isRead();
    static void mainBundle_noUsefulFile_hasNothing_data();
    static void mainBundle_noUsefulFile_hasNothing();
};

namespace {

const QString driver = QStringLiteral(PORTABLE_DRIVER);
const QStringList showAll{QStringLiteral("version"), QStringLiteral("number"),
                          QStringLiteral("home")};

// What showAll prints for a bundle with neither version nor identifier.
const QString nothing = QStringLiteral("version=(null)\nnumber=0\nhome={stage}/home/.(null)\n");

// A binary property list: CFBundleIdentifier 公司.b, CFBundleShortVersionString 3.10.25.
QByteArray BinaryPlist()
{
    return QByteArray::fromHex(
        "62706c6973743030d2010203045f1012434642756e646c654964656e7469666965725f101a43"
        "4642756e646c6553686f727456657273696f6e537472696e6764516c53f8002e006257332e31"
        "302e3235080d223f480000000000000101000000000000000500000000000000000000000000"
        "000050");
}

// Binary lists, each holding the next one alone.
QByteArray NestedBinaryPlist(int depth)
{
    const auto number = [](quint64 value, int bytes) {
        QByteArray text;
        for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) {
            text += static_cast<char>(value >> shift);
        }
        return text;
    };
    QByteArray content("bplist00");
    QByteArray offsets;
    for (int i = 0; i < depth; ++i) {
        offsets += number(static_cast<quint64>(content.size()), 3);
        content += i + 1 < depth ? "\xA1" + number(static_cast<quint64>(i) + 1, 3) : "\x08";
    }
    const auto tableAt = static_cast<quint64>(content.size());
    return content + offsets + QByteArray(6, '\0') + "\3\3" +
           number(static_cast<quint64>(depth), 8) + number(0, 8) + number(tableAt, 8);
}

} // namespace

void tst_MainBundle::mainBundle_place_decidesThePropertyList_data()
{
    QTest::addColumn<QString>("executable");
    QTest::addColumn<QString>("plist");
    const auto row = [](const char *rule, const char *executable, const char *plist) {
        QTest::newRow(rule) << QString::fromUtf8(executable) << QString::fromUtf8(plist);
    };
    row("bundle", "Sample.app/Contents/MacOS/host", "Sample.app/Contents/Info.plist");
    row("bundle without the usual suffix", "any/Contents/MacOS/host", "any/Contents/Info.plist");
    row("Chinese bundle", "应用 程序.app/Contents/MacOS/主", "应用 程序.app/Contents/Info.plist");
    row("plain folder", "bin/host", "bin/Info.plist");
    row("MacOS without Contents", "Other/MacOS/host", "Other/MacOS/Info.plist");
    row("Contents without MacOS", "Contents/Other/host", "Contents/Other/Info.plist");
    row("letter case counts", "a/contents/macos/host", "a/contents/macos/Info.plist");
    row("a folder below MacOS", "a/Contents/MacOS/b/host", "a/Contents/MacOS/b/Info.plist");
}

void tst_MainBundle::mainBundle_place_decidesThePropertyList()
{
    QFETCH(QString, executable);
    QFETCH(QString, plist);
    Stage stage(driver, executable);
    const QDir folder = QFileInfo(stage.path(executable)).dir();
    for (const char *place : {".", "..", "../.."}) {
        stage.makeFile(folder.filePath(QString::fromUtf8(place)) + QStringLiteral("/Info.plist"),
                       InfoPlist(QStringLiteral("wrong"), QStringLiteral("9.9.9")));
    }
    stage.makeFile(plist, InfoPlist(QStringLiteral("a.b.c"), QStringLiteral("1.2.3")));

    const RunResult run = stage.run(showAll);

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(
        QString::fromUtf8(run.out),
        stage.fill(QStringLiteral("version=1.2.3\nnumber=1020003\nhome={stage}/home/.a.b.c\n")));
}

void tst_MainBundle::mainBundle_propertyList_isRead_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("out");
    QTest::newRow("binary") << BinaryPlist()
                            << QStringLiteral("version=3.10.25\nnumber=3100025\n"
                                              "home={stage}/home/.公司.b\n");
    QTest::newRow("XML") << InfoPlist(QStringLiteral("a.b.c"), QStringLiteral("1.2.3"))
                         << QStringLiteral("version=1.2.3\nnumber=1020003\n"
                                           "home={stage}/home/.a.b.c\n");
    QTest::newRow("a text ends at NUL")
        << BinaryPlist().replace("\x53\xF8", QByteArray(2, '\0'))
        << QStringLiteral("version=3.10.25\nnumber=3100025\nhome={stage}/home/.公\n");
    QTest::newRow("XML with entities and a comment")
        << InfoPlist("<!-- <key>CFBundleIdentifier</key><string>no</string> -->"
                     "<key>CFBundleIdentifier</key><string>a&amp;&lt;b&gt;</string>")
        << QStringLiteral("version=(null)\nnumber=0\nhome={stage}/home/.a&<b>\n");
    QTest::newRow("identifier is a number")
        << InfoPlist("<key>CFBundleIdentifier</key><integer>7</integer>") << nothing;
    // Our choice: a property list of more than 256 KiB is not read.
    QTest::newRow("largest file read")
        << InfoPlist(QStringLiteral("a.b.c"), QString()).leftJustified(262144, '\n')
        << QStringLiteral("version=(null)\nnumber=0\nhome={stage}/home/.a.b.c\n");
    QTest::newRow("one byte more")
        << InfoPlist(QStringLiteral("a.b.c"), QString()).leftJustified(262145, '\n') << nothing;
    QTest::newRow("empty file") << QByteArray() << nothing;
    QTest::newRow("garbage") << QByteArray("\0\xFF\xFE<<<not a list", 16) << nothing;
    QTest::newRow("zero bytes") << QByteArray(1000, '\0') << nothing;
    QTest::newRow("text") << QByteArray("version 1.2.3\n") << nothing;
    QTest::newRow("XML that is no property list")
        << QByteArray("<html><p>1.2.3</p></html>") << nothing;
    QTest::newRow("a list, no dictionary")
        << QByteArray("<plist><array><string>a</string></array></plist>") << nothing;
    QTest::newRow("a text, no dictionary")
        << QByteArray("<plist><string>a</string></plist>") << nothing;
    QTest::newRow("cut XML")
        << InfoPlist(QStringLiteral("a.b.c"), QStringLiteral("1.2.3")).chopped(40) << nothing;
    QTest::newRow("cut binary") << BinaryPlist().left(60) << nothing;
    QTest::newRow("binary mark alone") << QByteArray("bplist00") << nothing;
    QTest::newRow("XML nested deep")
        << "<plist>" + QByteArray("<array>").repeated(37000) << nothing;
    QTest::newRow("binary nested deep") << NestedBinaryPlist(20000) << nothing;
    QTest::newRow("binary nested deeper") << NestedBinaryPlist(120000) << nothing;
}

void tst_MainBundle::mainBundle_propertyList_isRead()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, out);
    Stage stage(driver);
    stage.writeInfo(content);

    const RunResult run = stage.run(showAll);

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(QString::fromUtf8(run.out), stage.fill(out));
}

void tst_MainBundle::mainBundle_noUsefulFile_hasNothing_data()
{
    QTest::addColumn<QString>("kind");
    for (const char *kind : {"missing", "folder", "named pipe", "huge", "dangling link"}) {
        QTest::newRow(kind) << QString::fromUtf8(kind);
    }
}

void tst_MainBundle::mainBundle_noUsefulFile_hasNothing()
{
    QFETCH(QString, kind);
    Stage stage(driver);
    const QString plist = stage.path(QStringLiteral("Sample.app/Contents/Info.plist"));
    if (kind == QStringLiteral("folder")) {
        stage.makeFolder(plist);
    } else if (kind == QStringLiteral("named pipe")) {
        QCOMPARE(mkfifo(qPrintable(plist), 0600), 0);
    } else if (kind == QStringLiteral("huge")) {
        stage.makeFile(plist);
        QVERIFY(QFile::resize(plist, qint64(5) << 30)); // sparse, and over 32 bits
    } else if (kind == QStringLiteral("dangling link")) {
        QVERIFY(QFile::link(QStringLiteral("nowhere"), plist));
    }

    const RunResult run = stage.run(showAll);

    QVERIFY2(run.exitCode == 0, run.err.constData());
    QCOMPARE(QString::fromUtf8(run.out), stage.fill(nothing));
}

QTEST_APPLESS_MAIN(tst_MainBundle)
#include "tst_mainbundle.moc"
