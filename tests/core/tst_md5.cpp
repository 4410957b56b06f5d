// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"

#include <QtTest>

class tst_Md5 : public QObject {
    Q_OBJECT

private slots:
    static void md5Hash_reference_isTheWordOrderedText_data();
    static void md5Hash_reference_isTheWordOrderedText();
};

void tst_Md5::md5Hash_reference_isTheWordOrderedText_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray() << QByteArray("d98c1dd404b2008f980980e97e42f8ec");
    QTest::newRow("abc") << QByteArray("abc") << QByteArray("98500190b04fd23c7d3f96d6727fe128");
}

void tst_Md5::md5Hash_reference_isTheWordOrderedText()
{
    QFETCH(QByteArray, data);
    QFETCH(QByteArray, text);
    QCOMPARE(Md5Hash(data), text);
}

QTEST_APPLESS_MAIN(tst_Md5)
#include "tst_md5.moc"
