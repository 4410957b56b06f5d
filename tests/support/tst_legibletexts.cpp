// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include <QtTest>

#include <memory>

/// How a failed comparison prints its texts.
class tst_LegibleTexts : public QObject {
    Q_OBJECT

private slots:
    static void text_inAFailure_isLegible_data();
    static void text_inAFailure_isLegible();
    static void bytes_inAFailure_areLegible_data();
    static void bytes_inAFailure_areLegible();
    static void text_ofAnyLength_isCutBetweenLetters();
};

void tst_LegibleTexts::text_inAFailure_isLegible_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("nothing") << QString() << QStringLiteral("\"\"");
    QTest::newRow("Chinese") << QStringLiteral("再试一次") << QStringLiteral("\"再试一次\"");
    QTest::newRow("beyond 16 bits") << QStringLiteral("a😀b") << QStringLiteral("\"a😀b\"");
    QTest::newRow("half a letter") << QString(QChar(0xd83d)) << QStringLiteral("\"\\uD83D\"");
    QTest::newRow("line end") << QStringLiteral("a\r\n\tb") << QStringLiteral("\"a\\r\\n\\tb\"");
    QTest::newRow("quote") << QStringLiteral("a\"\\") << QStringLiteral("\"a\\\"\\\\\"");
    QTest::newRow("NUL") << QString(QChar(0)) << QStringLiteral("\"\\u0000\"");
}

void tst_LegibleTexts::text_inAFailure_isLegible()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    const std::unique_ptr<char[]> output(QTest::toString(text));
    QVERIFY2(shown == QString::fromUtf8(output.get()), output.get());
}

void tst_LegibleTexts::bytes_inAFailure_areLegible_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("shown");
    QTest::newRow("nothing") << QByteArray() << QByteArray("\"\"");
    QTest::newRow("Chinese") << QByteArray("再试") << QByteArray("\"再试\"");
    QTest::newRow("NUL") << QByteArray("a\0b", 3) << QByteArray("\"a\\u0000b\"");
    QTest::newRow("not UTF-8") << QByteArray("a\xff\n") << QByteArray("\"a\\xFF\\n\"");
}

void tst_LegibleTexts::bytes_inAFailure_areLegible()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, shown);
    const std::unique_ptr<char[]> output(QTest::toString(bytes));
    QVERIFY2(shown == output.get(), output.get());
}

void tst_LegibleTexts::text_ofAnyLength_isCutBetweenLetters()
{
    for (int length = 140; length < 160; ++length) {
        const QString text = QString(length, QChar(0x518d));
        const std::unique_ptr<char[]> output(QTest::toString(text));
        const QByteArray shown = output.get();
        QCOMPARE(QString::fromUtf8(shown).toUtf8(), shown);
        QVERIFY(shown.size() < 450);
        QCOMPARE(shown.endsWith("\"..."), length > 146);
    }
}

QTEST_APPLESS_MAIN(tst_LegibleTexts)
#include "tst_legibletexts.moc"
