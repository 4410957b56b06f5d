// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/VersionNumber.h"

#include <QtTest>

class tst_VersionNumber : public QObject {
    Q_OBJECT

private slots:
    static void versionNumber_text_isEncoded_data();
    static void versionNumber_text_isEncoded();
    static void versionNumber_null_isZero();
};

void tst_VersionNumber::versionNumber_text_isEncoded_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("number");
    const auto row = [](const char *rule, const char *text, int number) {
        QTest::newRow(rule) << QByteArray(text) << number;
    };
    row("three parts", "1.2.3", 1020003);
    row("two digits", "3.10.25", 3100025);
    row("zeros", "2.0.0", 2000000);
    row("no dot gives 0", "5", 0);
    row("two parts drop the minor number", "5.1", 5000000);
    row("two parts drop it however long", "10.5", 10000000);
    row("fourth part ignored", "5.1.2.9", 5010002);
    row("empty", "", 0);
    row("dots alone", "..", 0);
    row("nothing before the dot", ".1.2", 10002);
    row("nothing between the dots", "1..2", 1000002);
    row("nothing behind the dots", "1.2.", 1020000);
    row("minor number spills over", "1.100.0", 2000000);
    row("patch number spills over", "1.2.10000", 1030000);
    row("blanks in front", " 1.  2.\t3", 1020003);
    row("line breaks in front", "\n1.\r2.\v\f3", 1020003);
    row("blanks alone", "  . . ", 0);
    row("signs", "+1.-2.+3", 980003);
    row("all negative", "-1.-2.-3", -1020003);
    row("two signs are no number", "--1.+-2.3", 3);
    row("blank behind the sign", "- 1.2.3", 20003);
    row("letters behind the digits", "1a.2b.3-beta", 1020003);
    row("letters alone", "a.b.c", 0);
    row("hexadecimal is not read", "0x10.1.1", 10001);
    row("leading zeros", "01.002.0003", 1020003);
    row("full-width digits are letters", "１.２.３", 0);
    row("sum wraps in 32 bits", "99999.0.0", 1214752192);
    row("largest sum", "2147.48.3647", 2147483647);
    row("one more wraps", "2147.48.3648", -2147483647 - 1);
    row("patch saturates", "0.0.2147483648", 2147483647);
    row("patch saturates below", "0.0.-2147483649", -2147483647 - 1);
    row("a number of many digits saturates", "0.0.99999999999999999999999999", 2147483647);
    row("largest patch is itself", "0.0.2147483647", 2147483647);
    row("saturated major wraps", "4294967296.0.0", -1000000);
}

void tst_VersionNumber::versionNumber_text_isEncoded()
{
    QFETCH(QByteArray, text);
    QFETCH(int, number);
    QCOMPARE(VersionNumber(text.constData()), number);
}

void tst_VersionNumber::versionNumber_null_isZero()
{
    QCOMPARE(VersionNumber(nullptr), 0);
}

QTEST_APPLESS_MAIN(tst_VersionNumber)
#include "tst_versionnumber.moc"
