// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"

#include <QtTest>

namespace {

const QByteArray Md5 = "d98c1dd404b2008f980980e97e42f8ec";

QByteArray Line(const QByteArray &size, const QByteArray &path)
{
    return Md5 + '\t' + size + '\t' + path;
}

} // namespace

class tst_Md5Manifest : public QObject {
    Q_OBJECT

private slots:
    static void parseMd5File_size_isHexadecimal_data();
    static void parseMd5File_size_isHexadecimal();
    static void parseMd5File_path_isMadeRelative_data();
    static void parseMd5File_path_isMadeRelative();
    static void parseMd5File_lines_countWithThreeFields_data();
    static void parseMd5File_lines_countWithThreeFields();
    static void parseMd5File_md5_isTakenAsWritten_data();
    static void parseMd5File_md5_isTakenAsWritten();
    static void parseMd5File_samePath_laterLineWins_data();
    static void parseMd5File_samePath_laterLineWins();
    static void parseMd5File_samePathsAcrossALongList_lastLineWins();
    static void parseMd5File_order_isThatOfThePaths();
    static void record_fields_areInTheirOrder();
};

void tst_Md5Manifest::parseMd5File_size_isHexadecimal_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<quint32>("high");
    QTest::addColumn<quint32>("low");
    const auto row = [](const char *rule, const QByteArray &field, quint32 high, quint32 low) {
        QTest::newRow(rule) << field << high << low;
    };
    row("digits are hexadecimal", "10", 0, 16);
    row("also when they look decimal", "1000", 0, 4096);
    row("small letters", "ff", 0, 255);
    row("capital letters", "FF", 0, 255);
    row("zero", "0", 0, 0);
    row("leading zeros", "00000000000000000000010", 0, 16);
    row("the last size of one half", "ffffffff", 0, 0xFFFFFFFF);
    row("the first size of both halves", "100000000", 1, 0);
    row("both halves", "123456789abcdef0", 0x12345678, 0x9ABCDEF0);
    row("the largest", "ffffffffffffffff", 0xFFFFFFFF, 0xFFFFFFFF);
    row("too large reads as 0", "10000000000000000", 0, 0);
    row("no number reads as 0", "zz", 0, 0);
    row("no field reads as 0", "", 0, 0);
    row("a letter behind reads as 0", "10z", 0, 0);
    row("a blank behind reads as 0", "10 ", 0, 0);
    row("any white space behind reads as 0", "10\v", 0, 0);
    row("a blank before NUL reads as 0", QByteArray("10 \0", 4), 0, 0);
    row("a leading blank is skipped", " 10", 0, 16);
    row("other white space in front too", "\v\f\r10", 0, 16);
    row("a plus sign is skipped", "+10", 0, 16);
    row("a minus sign reads as 0", "-10", 0, 0);
    row("the prefix 0x is skipped", "0x10", 0, 16);
    row("the prefix 0X too", "0X10", 0, 16);
    row("the prefix alone reads as 0", "0x", 0, 0);
    row("a point reads as 0", "1.0", 0, 0);
    row("ends at NUL", QByteArray("10\0zz", 5), 0, 16);
}

void tst_Md5Manifest::parseMd5File_size_isHexadecimal()
{
    QFETCH(QByteArray, field);
    const QMap<QString, tagDownloadFileInfo> map = ParseMd5File(Line(field, "file"));
    QCOMPARE(map.keys(), QStringList(QStringLiteral("file")));
    const tagDownloadFileInfo &record = map.first();
    QTEST(record.sizeHigh, "high");
    QTEST(record.sizeLow, "low");
}

void tst_Md5Manifest::parseMd5File_path_isMadeRelative_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::addColumn<QString>("path");
    const auto row = [](const char *rule, const QByteArray &field, const QString &path) {
        QTest::newRow(rule) << field << path;
    };
    row("as it stands", "a/b", QStringLiteral("a/b"));
    row("backslash", "bin\\x.dylib", QStringLiteral("bin/x.dylib"));
    row("one leading slash", "/a/b", QStringLiteral("a/b"));
    row("one leading backslash", "\\a\\b", QStringLiteral("a/b"));
    row("only one of two", "//a", QStringLiteral("/a"));
    row("only one of two kinds", "\\/a", QStringLiteral("/a"));
    row("blanks belong to it", " a b ", QStringLiteral(" a b "));
    row("dots are left alone", "./../a", QStringLiteral("./../a"));
    row("empty", "", QString());
    row("a separator alone", "/", QString());
    row("UTF-8", u8"资源/更新 1.txt", QStringLiteral("资源/更新 1.txt"));
    row("beyond the first plane", u8"\U00020BB7.txt", QStringLiteral("\U00020BB7.txt"));
    row("composed stays composed", "\xC3\xA9", QString(QChar(0xE9)));
    row("decomposed stays decomposed", "e\xCC\x81", QStringLiteral("e") + QChar(0x301));
    row("broken UTF-8", "a\xFFz", QStringLiteral("a\uFFFDz"));
    row("stops at NUL", QByteArray("a\\b\0c", 5), QStringLiteral("a/b"));
    row("a CR inside stays", "a\rb", QStringLiteral("a\rb"));
}

void tst_Md5Manifest::parseMd5File_path_isMadeRelative()
{
    QFETCH(QByteArray, field);
    QFETCH(QString, path);
    const QMap<QString, tagDownloadFileInfo> map = ParseMd5File(Line("10", field));
    QCOMPARE(map.keys(), QStringList(path));
    QCOMPARE(map.first().path, path);
    QCOMPARE(map.first().sizeLow, 16U);
}

void tst_Md5Manifest::parseMd5File_lines_countWithThreeFields_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("paths");
    const auto row = [](const char *rule, const QByteArray &content, const QString &paths) {
        QTest::newRow(rule) << content << paths.split(QLatin1Char('|'), Qt::SkipEmptyParts);
    };
    const QByteArray a = Line("1", "a");
    const QByteArray b = Line("2", "b");
    row("empty", {}, {});
    row("line ends only", "\n\r\n\n", {});
    row("LF", a + '\n' + b + '\n', QStringLiteral("a|b"));
    row("CR LF", a + "\r\n" + b + "\r\n", QStringLiteral("a|b"));
    row("last line without LF", a + '\n' + b, QStringLiteral("a|b"));
    row("last line with CR only", a + '\n' + b + '\r', QStringLiteral("a|b"));
    row("only one CR is dropped", a + "\r\r\n" + b, QStringLiteral("a\r|b"));
    row("CR alone ends no line", a + '\r' + b, {});
    row("empty lines between", a + "\n\n" + b + "\n\n", QStringLiteral("a|b"));
    row("one field", "# what may look like a comment\n" + a, QStringLiteral("a"));
    row("two fields", Md5 + "\t1\n" + a, QStringLiteral("a"));
    row("four fields", a + "\tmore\n" + b, QStringLiteral("b"));
    row("a TAB at the end is a fourth field", a + "\t\n" + b, QStringLiteral("b"));
    row("two TABs alone are three fields", "\t\t", {});
    const QByteArray sha256(64, 'b');
    row("@release", "@release\t3100025\t3.10.25\t3.10.25\n" + a, QStringLiteral("a"));
    row("@application", "@application\tcom.example.sample\n" + a, QStringLiteral("a"));
    row("@minimum", "@minimum\t3000000\n" + a, QStringLiteral("a"));
    row("@page", "@page\thttps://www.example.com/\n" + a, QStringLiteral("a"));
    row("@file", a + "\n@file\t" + sha256 + "\t0644\ta\n" + b, QStringLiteral("a|b"));
    row("@link", a + "\n@link\ta\t-\tc\n" + b, QStringLiteral("a|b"));
    row("@folder", a + "\n@folder\t0700\t-\tc\n" + b, QStringLiteral("a|b"));
    row("@ and three fields are a file", "@x\t1\ta\n" + b, QStringLiteral("a|b"));
    row("no line counts", "a\nb\tc\n\td\te\tf\n", {});
}

void tst_Md5Manifest::parseMd5File_lines_countWithThreeFields()
{
    QFETCH(QByteArray, content);
    QFETCH(QStringList, paths);
    if (qstrcmp(QTest::currentDataTag(), "two TABs alone are three fields") == 0) {
        paths.append(QString());
    }
    QCOMPARE(ParseMd5File(content).keys(), paths);
}

void tst_Md5Manifest::parseMd5File_md5_isTakenAsWritten_data()
{
    QTest::addColumn<QByteArray>("field");
    QTest::newRow("usual") << Md5;
    QTest::newRow("blanks") << ' ' + Md5 + ' ';
    QTest::newRow("capitals") << Md5.toUpper();
    QTest::newRow("backslash") << QByteArray("a\\b");
    QTest::newRow("short") << QByteArray("x");
    QTest::newRow("NUL inside") << QByteArray("x\0y", 3);
    QTest::newRow("empty") << QByteArray("");
}

void tst_Md5Manifest::parseMd5File_md5_isTakenAsWritten()
{
    QFETCH(QByteArray, field);
    QCOMPARE(ParseMd5File(field + "\t1\tfile\r\n").value(QStringLiteral("file")).md5, field);
}

void tst_Md5Manifest::parseMd5File_samePath_laterLineWins_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QByteArray>("second");
    QTest::newRow("written alike") << QByteArray("a/b") << QByteArray("a/b");
    QTest::newRow("slash after backslash") << QByteArray("a\\b") << QByteArray("a/b");
    QTest::newRow("backslash after slash") << QByteArray("a/b") << QByteArray("a\\b");
    QTest::newRow("leading slash first") << QByteArray("/a/b") << QByteArray("a/b");
    QTest::newRow("leading slash last") << QByteArray("a/b") << QByteArray("/a/b");
}

void tst_Md5Manifest::parseMd5File_samePath_laterLineWins()
{
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, second);
    const QByteArray content =
        "old\t100000001\t" + first + "\nx\t7\ta/c\nnew\t2\t" + second + "\ny\t8\tA/b\n";
    const QMap<QString, tagDownloadFileInfo> map = ParseMd5File(content);

    QCOMPARE(map.size(), 3); // a path in other letter case is another path
    const tagDownloadFileInfo record = map.value(QStringLiteral("a/b"));
    QCOMPARE(record.path, QStringLiteral("a/b"));
    QCOMPARE(record.md5, QByteArray("new"));
    QCOMPARE(record.sizeHigh, 0U);
    QCOMPARE(record.sizeLow, 2U);
    QCOMPARE(map.value(QStringLiteral("A/b")).md5, QByteArray("y"));
}

void tst_Md5Manifest::parseMd5File_samePathsAcrossALongList_lastLineWins()
{
    constexpr int lines = 1000;
    constexpr int paths = 10; // their order in the list is 9, 2, 5, 8, 1, ...
    QByteArray content = Line("1", "z") + '\n';
    for (int i = 0; i < lines; ++i) {
        content += Line(QByteArray::number(i, 16), QByteArray::number((9 + 3 * i) % paths)) + '\n';
    }
    const QMap<QString, tagDownloadFileInfo> map = ParseMd5File(content);
    QCOMPARE(map.size(), paths + 1);
    for (int i = lines - paths; i < lines; ++i) {
        QCOMPARE(map.value(QString::number((9 + 3 * i) % paths)).sizeLow, static_cast<quint32>(i));
    }
}

void tst_Md5Manifest::parseMd5File_order_isThatOfThePaths()
{
    const QByteArray content = Line("1", "b") + '\n' + Line("2", "a") + '\n' + Line("3", "B") +
                               '\n' + Line("4", "c") + '\n' + Line("5", "a") + '\n';
    const QMap<QString, tagDownloadFileInfo> map = ParseMd5File(content);
    QCOMPARE(map.keys(), QStringList({QStringLiteral("B"), QStringLiteral("a"), QStringLiteral("b"),
                                      QStringLiteral("c")}));
    QCOMPARE(map.value(QStringLiteral("a")).sizeLow, 5U);
}

void tst_Md5Manifest::record_fields_areInTheirOrder()
{
    const tagDownloadFileInfo record{QStringLiteral("path"), 1, 2, "md5"}; // high half first
    QCOMPARE(record.path, QStringLiteral("path"));
    QCOMPARE(record.sizeHigh, 1U);
    QCOMPARE(record.sizeLow, 2U);
    QCOMPARE(record.md5, QByteArray("md5"));
}

QTEST_APPLESS_MAIN(tst_Md5Manifest)
#include "tst_md5manifest.moc"
