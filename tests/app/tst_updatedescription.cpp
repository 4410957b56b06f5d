// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/UpdateDescription.h"

#include <QtTest>

Q_DECLARE_METATYPE(UpdateDecision)

class tst_UpdateDescription : public QObject {
    Q_OBJECT

private slots:
    void parse_allKeys_areRead();
    void parse_noObject_isRefused_data();
    void parse_noObject_isRefused();
    void parse_version_isReadAsInt_data();
    void parse_version_isReadAsInt();
    void parse_text_isReadAsText_data();
    void parse_text_isReadAsText();
    void decide_versions_giveDecision_data();
    void decide_versions_giveDecision();
};

void tst_UpdateDescription::parse_allKeys_areRead()
{
    UpdateDescription description;
    QVERIFY(
        ParseUpdateDescription(R"({"Version":3100025,"VersionString":"3.10.25 版","Folder":"f",)"
                               R"("MinVersion":-7,"DownloadUrl":"https://x/?a&b","Other":[]})",
                               description));
    QCOMPARE(description.version, 3100025);
    QCOMPARE(description.versionString, QStringLiteral("3.10.25 版"));
    QCOMPARE(description.folder, QStringLiteral("f"));
    QCOMPARE(description.minVersion, -7);
    QCOMPARE(description.downloadUrl, QStringLiteral("https://x/?a&b"));
}

void tst_UpdateDescription::parse_noObject_isRefused_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("null array") << QByteArray();
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("blanks") << QByteArray(1000, ' ');
    QTest::newRow("array") << QByteArray("[]");
    QTest::newRow("array of objects") << QByteArray(R"([{"Version":9}])");
    QTest::newRow("null") << QByteArray("null");
    QTest::newRow("number") << QByteArray("7");
    QTest::newRow("text") << QByteArray(R"("x")");
    QTest::newRow("not JSON") << QByteArray("<html>Sign in</html>");
    QTest::newRow("cut off") << QByteArray(R"({"Version":9)");
    QTest::newRow("two objects") << QByteArray("{}{}");
    QTest::newRow("NUL in front") << QByteArray("\0{}", 3);
    QTest::newRow("NUL inside") << QByteArray("{\"Ver\0sion\":\0 9}", 16);
    QTest::newRow("invalid UTF-8") << QByteArray("{\"VersionString\":\"\xff\xfe\"}");
    QTest::newRow("nested 10,000 deep")
        << QByteArray(R"({"a":)") + QByteArray(10000, '[') + QByteArray(10000, ']') + "}";
}

void tst_UpdateDescription::parse_noObject_isRefused()
{
    QFETCH(QByteArray, content);
    UpdateDescription description;
    description.version = 5;
    description.versionString = QStringLiteral("before");
    QVERIFY(!ParseUpdateDescription(content, description));
    QCOMPARE(description.version, 5);
    QCOMPARE(description.versionString, QStringLiteral("before"));
}

void tst_UpdateDescription::parse_version_isReadAsInt_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("version");
    QTest::newRow("number") << QByteArray("7") << 7;
    QTest::newRow("negative") << QByteArray("-7") << -7;
    QTest::newRow("largest int") << QByteArray("2147483647") << 2147483647;
    QTest::newRow("beyond int") << QByteArray("2147483648") << 0;
    QTest::newRow("far beyond int") << QByteArray("1e300") << 0;
    QTest::newRow("whole number with an exponent") << QByteArray("3e6") << 3000000;
    QTest::newRow("fraction") << QByteArray("6.5") << 0;
    QTest::newRow("whole number with a point") << QByteArray("6.0") << 6;
    QTest::newRow("text") << QByteArray(R"("7")") << 0;
    QTest::newRow("bool") << QByteArray("true") << 0;
    QTest::newRow("null") << QByteArray("null") << 0;
    QTest::newRow("array") << QByteArray("[7]") << 0;
    QTest::newRow("object") << QByteArray(R"({"Version":7})") << 0;
}

void tst_UpdateDescription::parse_version_isReadAsInt()
{
    QFETCH(QByteArray, value);
    QFETCH(int, version);
    UpdateDescription description;
    QVERIFY(ParseUpdateDescription(R"({"Version":)" + value + R"(,"MinVersion":)" + value + "}",
                                   description));
    QCOMPARE(description.version, version);
    QCOMPARE(description.minVersion, version);
}

void tst_UpdateDescription::parse_text_isReadAsText_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("text");
    QTest::newRow("text") << QByteArray(R"({"VersionString":"a"})") << QStringLiteral("a");
    QTest::newRow("missing") << QByteArray("{}") << QString();
    QTest::newRow("number") << QByteArray(R"({"VersionString":3})") << QString();
    QTest::newRow("null") << QByteArray(R"({"VersionString":null})") << QString();
    QTest::newRow("other letter case") << QByteArray(R"({"versionstring":"a"})") << QString();
    QTest::newRow("given twice: the later one")
        << QByteArray(R"({"VersionString":"a","VersionString":"b"})") << QStringLiteral("b");
    QTest::newRow("escaped NUL") << QByteArray(R"({"VersionString":"a\u0000b"})")
                                 << QString::fromUtf8("a\0b", 3);
}

void tst_UpdateDescription::parse_text_isReadAsText()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, text);
    UpdateDescription description;
    QVERIFY(ParseUpdateDescription(content, description));
    QCOMPARE(description.versionString, text);
}

void tst_UpdateDescription::decide_versions_giveDecision_data()
{
    QTest::addColumn<int>("host");
    QTest::addColumn<int>("version");
    QTest::addColumn<int>("minVersion");
    QTest::addColumn<UpdateDecision>("decision");
    QTest::newRow("host is newer") << 7 << 6 << 0 << UpdateDecision::NotNeeded;
    QTest::newRow("host is equal") << 6 << 6 << 6 << UpdateDecision::NotNeeded;
    QTest::newRow("host is newer than both") << 8 << 6 << 9 << UpdateDecision::NotNeeded;
    QTest::newRow("host at the minimum") << 5 << 6 << 5 << UpdateDecision::Forced;
    QTest::newRow("host below the minimum") << 4 << 6 << 5 << UpdateDecision::Forced;
    QTest::newRow("host above the minimum") << 5 << 6 << 4 << UpdateDecision::Optional;
    QTest::newRow("nothing published, host without version")
        << 0 << 0 << 0 << UpdateDecision::NotNeeded;
    QTest::newRow("nothing published, negative host") << -1 << 0 << 0 << UpdateDecision::Forced;
}

void tst_UpdateDescription::decide_versions_giveDecision()
{
    QFETCH(int, host);
    QFETCH(int, version);
    QFETCH(int, minVersion);
    QFETCH(UpdateDecision, decision);
    UpdateDescription description;
    description.version = version;
    description.minVersion = minVersion;
    QCOMPARE(DecideUpdate(host, description), decision);
}

QTEST_APPLESS_MAIN(tst_UpdateDescription)
#include "tst_updatedescription.moc"
