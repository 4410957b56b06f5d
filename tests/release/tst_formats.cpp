// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "platform/VersionNumber.h"
#include "publish/VersionCheck.h"
#include "release/Formats.h"

#include <QtTest>

/// Checks and writing of versions, manifests and update descriptions.
class tst_Formats : public QObject {
    Q_OBJECT

private slots:
    static void versionReasons_version_areAsExpected_data();
    static void versionReasons_version_areAsExpected();
    static void lossyVersionReason_losslessVersions_haveNumbersOfTheirOwn();
    static void manifestContent_records_areWrittenLineByLine();
    static void manifestContent_written_isReadBackUnchanged();
    static void manifestProblems_content_areNamed_data();
    static void manifestProblems_content_areNamed();
    static void descriptionContent_written_isReadBackUnchanged();
    static void descriptionProblems_content_areNamed_data();
    static void descriptionProblems_content_areNamed();
};

namespace {

const QByteArray Md5(32, 'a');

} // namespace

void tst_Formats::versionReasons_version_areAsExpected_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("notAVersion");
    QTest::addColumn<QString>("loss");
    const QString no("it is not made of numbers separated by dots");
    const QString none;
    const auto add = [&none](const char *version, const QString &notAVersion, const QString &loss) {
        QTest::newRow(*version ? version : "empty") << version << notAVersion << loss;
    };
    add("3.10.25", none, none);
    add("0.0.0", none, none);
    add("3.99.9999", none, none);
    add("3.010.0025", none, none);
    add("2147.48.3647", none, none);
    add("2147.48.3648", none, "its number would be over 2147483647");
    add("2148.0.0", none, "its number would be over 2147483647");
    add("99999999999999999999.0.0", none, "its number would be over 2147483647");
    add("3", none, "a version of one part counts as 0");
    add("3.10", none, "the second part of a version of two parts does not count");
    add("3.10.25.1", none, "what follows the third part does not count");
    add("3.100.0", none, "a second part over 99 spills into the first");
    add("3.0.10000", none, "a third part over 9999 spills into the second");
    add("3.0.99999999999999999999", none, "a third part over 9999 spills into the second");
    add("", no, {});
    add("three", no, {});
    add("3..25", no, {});
    add("3.10.", no, {});
    add(".1.2", no, {});
    add("3.10.25b", no, {});
    add("v3.10.25", no, {});
    add("-3.10.25", no, {});
    add("+3.10.25", no, {});
    add(" 3.10.25", no, {});
    add("3.10.25\n", no, {});
    QTest::newRow("other digits") << QString::fromUtf8("\u0663.1.2") << no << QString();
}

void tst_Formats::versionReasons_version_areAsExpected()
{
    QFETCH(QString, version);
    QFETCH(QString, notAVersion);
    QFETCH(QString, loss);
    QCOMPARE(NotAVersionReason(version), notAVersion);
    if (notAVersion.isEmpty()) {
        QCOMPARE(LossyVersionReason(version), loss);
    }
}

/// A version found lossless can be restored from the number that hosts are compared by.
void tst_Formats::lossyVersionReason_losslessVersions_haveNumbersOfTheirOwn()
{
    for (const int major : {0, 1, 2147}) {
        for (const int minor : {0, 1, 48, 99}) {
            for (const int patch : {0, 1, 3647, 9999}) {
                const QString version = QStringLiteral("%1.%2.%3")
                                            .arg(QString::number(major), QString::number(minor),
                                                 QString::number(patch));
                if (!LossyVersionReason(version).isEmpty()) {
                    continue;
                }
                const int number = VersionNumber(version.toLatin1().constData());
                QCOMPARE(number / 1000000, major);
                QCOMPARE(number / 10000 % 100, minor);
                QCOMPARE(number % 10000, patch);
            }
        }
    }
}

void tst_Formats::manifestContent_records_areWrittenLineByLine()
{
    const std::vector<tagDownloadFileInfo> records{
        {QStringLiteral("资源/a b"), 0, 0xABC, Md5}, {"big", 1, 0, Md5}, {"empty", 0, 0, Md5}};
    QCOMPARE(ManifestContent(records), Md5 + QStringLiteral("\tabc\t资源/a b\n").toUtf8() + Md5 +
                                           "\t100000000\tbig\n" + Md5 + "\t0\tempty\n");
    QCOMPARE(ManifestContent({}), QByteArray());
}

void tst_Formats::manifestContent_written_isReadBackUnchanged()
{
    const std::vector<tagDownloadFileInfo> records{{QStringLiteral("资源/a b"), 0, 0x7FFFFFBF, Md5},
                                                   {"both halves", 7, 0xFFFFFFFF, Md5}};
    QCOMPARE(ManifestProblems(ManifestContent({records.front()})), QStringList());
    const QMap<QString, tagDownloadFileInfo> read = ParseMd5File(ManifestContent(records));
    for (const tagDownloadFileInfo &record : records) {
        QCOMPARE(read.value(record.path).sizeHigh, record.sizeHigh);
        QCOMPARE(read.value(record.path).sizeLow, record.sizeLow);
        QCOMPARE(read.value(record.path).md5, record.md5);
    }
}

void tst_Formats::manifestProblems_content_areNamed_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("problems");
    const QString fields("it does not have three fields");
    const QString digest("its MD5 text is not 32 lower-case hexadecimal digits");
    const QString size("its size is not a hexadecimal number");
    const auto line = [](int number, const QString &reason) {
        return QStringList{"line " + QString::number(number) + ": " + reason};
    };
    const QByteArray good = Md5 + "\t1\ta\n";
    QTest::newRow("good") << good << QStringList();
    QTest::newRow("CR LF") << Md5 + "\t1\ta\r\n" + Md5 + "\t1\tb\r\n" << QStringList();
    QTest::newRow("last line without LF") << Md5 + "\t1\ta" << QStringList();
    QTest::newRow("nothing") << QByteArray() << QStringList("it lists no file");
    QTest::newRow("empty line") << good + "\n" + Md5 + "\t1\tb\n" << line(2, fields);
    QTest::newRow("two fields") << good + Md5 + "\tb\n" << line(2, fields);
    QTest::newRow("four fields") << Md5 + "\t1\ta\tb\n" << line(1, fields);
    QTest::newRow("upper-case MD5 text") << QByteArray(32, 'A') + "\t1\ta\n" << line(1, digest);
    QTest::newRow("short MD5 text") << Md5.mid(1) + "\t1\ta\n" << line(1, digest);
    QTest::newRow("blank before the MD5 text") << " " + Md5 + "\t1\ta\n" << line(1, digest);
    QTest::newRow("no size") << Md5 + "\t\ta\n" << line(1, size);
    QTest::newRow("size with a blank") << Md5 + "\t1 \ta\n" << line(1, size);
    QTest::newRow("size with a letter") << Md5 + "\t1g\ta\n" << line(1, size);
    QTest::newRow("size over 64 bits") << Md5 + "\t10000000000000000\ta\n" << line(1, size);
    QTest::newRow("largest size") << Md5 + "\t7fffffbf\ta\n" << QStringList();
    const QString tooLarge(
        "files of almost 2 GiB (2,147,483,584 bytes) and more cannot be updated");
    QTest::newRow("too large") << Md5 + "\t7fffffc0\ta\n" << line(1, tooLarge);
    QTest::newRow("too large by far") << Md5 + "\tffffffffffffffff\ta\n" << line(1, tooLarge);
    QTest::newRow("path upwards") << Md5 + "\t1\t../a\n"
                                  << line(1, R"(path "../a": it has a ".." component)");
    QTest::newRow("path not UTF-8") << Md5 + "\t1\ta\xFF\n"
                                    << line(1, R"(path "a)" + QString(QChar::ReplacementCharacter) +
                                                   R"(": it does not survive UTF-8 unchanged)");
    QTest::newRow("same path twice") << good + good << QStringList(R"("a" is listed twice)");
    QTest::newRow("old name beside")
        << good + Md5 + "\t1\ta.old\n"
        << QStringList(R"("a.old" takes the name reserved for the old "a")");
}

void tst_Formats::manifestProblems_content_areNamed()
{
    QFETCH(QByteArray, content);
    QFETCH(QStringList, problems);
    QCOMPARE(ManifestProblems(content), problems);
}

void tst_Formats::descriptionContent_written_isReadBackUnchanged()
{
    const PublishedDescription written{3100025, QStringLiteral(R"(三 "3")"), "3.10.25", 3000000,
                                       "https://www.example.com/d?a=b"};
    PublishedDescription read;
    QCOMPARE(DescriptionProblems(DescriptionContent(written), read), QStringList());
    QCOMPARE(read.version, written.version);
    QCOMPARE(read.versionString, written.versionString);
    QCOMPARE(read.folder, written.folder);
    QCOMPARE(read.minVersion, written.minVersion);
    QCOMPARE(read.downloadUrl, written.downloadUrl);
}

void tst_Formats::descriptionProblems_content_areNamed_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QStringList>("problems");
    const QByteArray good = R"({"Version":2,"VersionString":"2","Folder":"f","MinVersion":1,)"
                            R"("DownloadUrl":"https://h/"})";
    const auto with = [&good](const QByteArray &before, const QByteArray &after) {
        Q_ASSERT(good.contains(before));
        return QByteArray(good).replace(before, after);
    };
    QTest::newRow("good") << good << QStringList();
    QTest::newRow("other keys") << with("{", R"({"Other":null,)") << QStringList();
    QTest::newRow("empty") << QByteArray() << QStringList("it is not JSON: illegal value");
    QTest::newRow("array") << QByteArray("[]") << QStringList("it is not a JSON object");
    QTest::newRow("Version as a text")
        << with(":2,", R"(:"2",)") << QStringList("Version is not a whole number");
    QTest::newRow("Version with a fraction")
        << with(":2,", ":2.5,") << QStringList("Version is not a whole number");
    QTest::newRow("Version beyond an int")
        << with(":2,", ":2147483648,") << QStringList("Version is not a whole number");
    QTest::newRow("no MinVersion")
        << with("MinVersion", "minversion") << QStringList("MinVersion is not a whole number");
    QTest::newRow("VersionString as a number")
        << with(R"("2")", "2") << QStringList("VersionString is not a text");
    QTest::newRow("Folder upwards")
        << with(R"("f")", R"("..")") << QStringList("Folder: it has a \"..\" component");
    QTest::newRow("Folder deeper")
        << with(R"("f")", R"("a/b")") << QStringList("Folder: it is a path, not a name");
    QTest::newRow("DownloadUrl not https")
        << with("https", "http")
        << QStringList(R"(DownloadUrl: "http://h/" is not an https address)");
}

void tst_Formats::descriptionProblems_content_areNamed()
{
    QFETCH(QByteArray, content);
    QFETCH(QStringList, problems);
    PublishedDescription description;
    QCOMPARE(DescriptionProblems(content, description), problems);
}

QTEST_APPLESS_MAIN(tst_Formats)
#include "tst_formats.moc"
