// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/TestFiles.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

/// The two readers of property lists, of macOS and of other systems, give the same.
class tst_InfoPlist : public QObject {
    Q_OBJECT

private slots:
    static void read_anyFile_givesItsItems_data();
    static void read_anyFile_givesItsItems();
};

namespace {

QByteArray List(const QByteArray &items)
{
    return R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)" + items +
           "</dict></plist>";
}

QByteArray Item(const QByteArray &key, const QByteArray &value)
{
    return "<key>CFBundle" + key + "</key>" + value;
}

} // namespace

void tst_InfoPlist::read_anyFile_givesItsItems_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("isBinary"); // is made so before it is read
    QTest::addColumn<QByteArray>("items");
    const QByteArray both = List(Item("Identifier", "<string>a.b.c</string>") +
                                 Item("ShortVersionString", "<string>3.10.25</string>"));
    QTest::newRow("XML") << both << false << QByteArray("[a.b.c]\n[3.10.25]\n");
    QTest::newRow("binary") << both << true << QByteArray("[a.b.c]\n[3.10.25]\n");
    QTest::newRow("Chinese") << List(Item("Identifier", "<string>应用</string>")) << true
                             << QByteArray("[应用]\nnone\n");
    QTest::newRow("number for a text") << List(Item("ShortVersionString", "<integer>3</integer>"))
                                       << false << QByteArray("none\nnone\n");
    QTest::newRow("empty text") << List(Item("ShortVersionString", "<string></string>")) << false
                                << QByteArray("none\n[]\n");
    QTest::newRow("no dictionary") << QByteArray("<plist version=\"1.0\"><array/></plist>") << false
                                   << QByteArray("none\nnone\n");
    QTest::newRow("noise") << QByteArray("bplist00 and no more") << false
                           << QByteArray("none\nnone\n");
    QTest::newRow("empty") << QByteArray("") << false << QByteArray("none\nnone\n");
    QTest::newRow("too large") << both + QByteArray(262144, ' ') << false
                               << QByteArray("none\nnone\n");
}

void tst_InfoPlist::read_anyFile_givesItsItems()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, isBinary);
    QFETCH(QByteArray, items);
    const QTemporaryDir folder;
    const QString path = folder.filePath("Info.plist");
    WriteFile(path, content);
    const QString convert(
        "import plistlib, sys; p = sys.argv[1]; d = plistlib.load(open(p, 'rb')); "
        "plistlib.dump(d, open(p, 'wb'), fmt=plistlib.FMT_BINARY)");
    QVERIFY(!isBinary || QProcess::execute("python3", {"-c", convert, path}) == 0);
    for (const char *driver : {PLIST_DRIVERS}) {
        QProcess process;
        process.start(QString::fromUtf8(driver), {path});
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(process.readAllStandardOutput(), items);
    }
}

QTEST_APPLESS_MAIN(tst_InfoPlist)
#include "tst_infoplist.moc"
