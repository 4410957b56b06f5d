// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ReleaseManifest.h"

#include "release/Formats.h"

#include <QtTest>

#include <algorithm>

/// Writing and reading the whole manifest of a release.
class tst_ReleaseManifest : public QObject {
    Q_OBJECT

private slots:
    static void manifestContent_release_isWrittenLineByLine();
    static void manifestContent_anyOrder_givesTheSameBytes();
    static void manifestContent_oldOne_hasItsFilesOnly();
    static void readManifest_written_givesEverythingBack();
    static void readManifest_content_isAccepted_data();
    static void readManifest_content_isAccepted();
    static void readManifest_oneLineChanged_isRefusedNamingTheLine_data();
    static void readManifest_oneLineChanged_isRefusedNamingTheLine();
    static void readManifest_content_isRefusedNamingTheLine_data();
    static void readManifest_content_isRefusedNamingTheLine();
    static void readManifest_cutAnywhere_isRefusedOrEndsWithAPath();
    static void readManifest_oldOne_isReadAsEver_data();
    static void readManifest_oldOne_isReadAsEver();
    static void readManifest_oldOne_isRefused_data();
    static void readManifest_oldOne_isRefused();
    static void readManifest_links_areFollowedAsAFileSystemDoes_data();
    static void readManifest_links_areFollowedAsAFileSystemDoes();
    static void readManifest_chainOfLinks_mayBe32Long();
    static void readManifest_manyPaths_areAMillionAtMost();
    static void readManifestHead_content_isReadUpToThePaths_data();
    static void readManifestHead_content_isReadUpToThePaths();
    static void manifestRecord_file_isWhatTheParserGives();
    static void modeReason_mode_isAsExpected_data();
    static void modeReason_mode_isAsExpected();
};

namespace {

const QByteArray Md5(32, 'a');
const QByteArray Sha256(64, 'b');
const QByteArray Head = "@release\t3100025\t3.10.25\t3.10.25\n"
                        "@application\tcom.example.sample\n"
                        "@minimum\t3000000\n"
                        "@page\thttps://www.example.com/\n";
constexpr int HeadLines = 4;

QByteArray File(const QByteArray &path, const QByteArray &mode = "0644")
{
    return Md5 + "\t1\t" + path + "\n@file\t" + Sha256 + '\t' + mode + '\t' + path + '\n';
}

QByteArray Link(const QByteArray &path, const QByteArray &target)
{
    return "@link\t" + target + "\t-\t" + path + '\n';
}

QByteArray Folder(const QByteArray &path, const QByteArray &mode = "0755")
{
    return "@folder\t" + mode + "\t-\t" + path + '\n';
}

ReleaseManifest Sample()
{
    ReleaseManifest manifest;
    manifest.isComplete = true;
    manifest.version = 3100025;
    manifest.folder = QStringLiteral("3.10.25");
    manifest.versionString = QStringLiteral("三 10");
    manifest.application = QStringLiteral("com.example.sample");
    manifest.minVersion = 3000000;
    manifest.page = QStringLiteral("https://www.example.com/d?a=b");
    manifest.files = {{QStringLiteral("a"), 0xABC, Md5, Sha256, 0755},
                      {QStringLiteral("a-b/c"), 0, Md5, Sha256, 0644},
                      {QStringLiteral("资源/图.png"), TooLargeSize - 1, Md5, Sha256, 0400}};
    manifest.links = {{QStringLiteral("link"), QStringLiteral("资源/图.png")}};
    manifest.folders = {{QStringLiteral("a-b"), 0700}, {QStringLiteral("empty"), 0755}};
    return manifest;
}

QString Reason(const QByteArray &content)
{
    ReleaseManifest manifest;
    return ReadManifest(content, manifest);
}

} // namespace

void tst_ReleaseManifest::manifestContent_release_isWrittenLineByLine()
{
    const QByteArray expected =
        QByteArray("@release\t3100025\t3.10.25\t三 10\n"
                   "@application\tcom.example.sample\n"
                   "@minimum\t3000000\n"
                   "@page\thttps://www.example.com/d?a=b\n") +
        Md5 + "\tabc\ta\n" + "@file\t" + Sha256 + "\t0755\ta\n" + "@folder\t0700\t-\ta-b\n" + Md5 +
        "\t0\ta-b/c\n" + "@file\t" + Sha256 + "\t0644\ta-b/c\n" + "@folder\t0755\t-\tempty\n" +
        "@link\t资源/图.png\t-\tlink\n" + Md5 + "\t7fffffbf\t资源/图.png\n" + "@file\t" + Sha256 +
        "\t0400\t资源/图.png\n";
    QCOMPARE(ManifestContent(Sample()), expected);
}

void tst_ReleaseManifest::manifestContent_anyOrder_givesTheSameBytes()
{
    // Beyond the first plane, UTF-16 sorts differently from the bytes of UTF-8.
    const QStringList names{QString::fromUtf8("\xEF\xAC\x81"),
                            QString::fromUtf8("\xF0\x9F\x98\x80"),
                            "B",
                            "a",
                            "a/b",
                            "a-b"};
    ReleaseManifest manifest = Sample();
    manifest.files.clear();
    for (const QString &name : names) {
        manifest.files.push_back({name, 1, Md5, Sha256, 0644});
    }
    const QByteArray content = ManifestContent(manifest);
    const QByteArrayList order{"B", "a", "a-b", "a/b", "\xEF\xAC\x81", "\xF0\x9F\x98\x80"};
    int place = 0;
    for (const QByteArray &name : order) {
        const int found = content.indexOf("\t1\t" + name + '\n');
        QVERIFY2(found > place, name.constData());
        place = found;
    }
    for (int turn = 0; turn < names.size(); ++turn) {
        std::rotate(manifest.files.begin(), manifest.files.begin() + 1, manifest.files.end());
        std::reverse(manifest.folders.begin(), manifest.folders.end());
        QCOMPARE(ManifestContent(manifest), content);
    }
}

void tst_ReleaseManifest::manifestContent_oldOne_hasItsFilesOnly()
{
    ReleaseManifest manifest = Sample();
    manifest.isComplete = false;
    QCOMPARE(ManifestContent(manifest),
             Md5 + "\tabc\ta\n" + Md5 + "\t0\ta-b/c\n" + Md5 + "\t7fffffbf\t资源/图.png\n");
}

void tst_ReleaseManifest::readManifest_written_givesEverythingBack()
{
    const ReleaseManifest written = Sample();
    ReleaseManifest read;
    QCOMPARE(ReadManifest(ManifestContent(written), read), QString());
    QVERIFY(read.isComplete);
    QCOMPARE(read.version, written.version);
    QCOMPARE(read.folder, written.folder);
    QCOMPARE(read.versionString, written.versionString);
    QCOMPARE(read.application, written.application);
    QCOMPARE(read.minVersion, written.minVersion);
    QCOMPARE(read.page, written.page);
    QCOMPARE(read.files.size(), written.files.size());
    for (std::size_t i = 0; i < read.files.size(); ++i) {
        QCOMPARE(read.files[i].path, written.files[i].path);
        QCOMPARE(read.files[i].size, written.files[i].size);
        QCOMPARE(read.files[i].md5, written.files[i].md5);
        QCOMPARE(read.files[i].sha256, written.files[i].sha256);
        QCOMPARE(read.files[i].mode, written.files[i].mode);
    }
    QCOMPARE(read.links.size(), written.links.size());
    QCOMPARE(read.links[0].path, written.links[0].path);
    QCOMPARE(read.links[0].target, written.links[0].target);
    QCOMPARE(read.folders.size(), written.folders.size());
    for (std::size_t i = 0; i < read.folders.size(); ++i) {
        QCOMPARE(read.folders[i].path, written.folders[i].path);
        QCOMPARE(read.folders[i].mode, written.folders[i].mode);
    }
    QCOMPARE(ManifestContent(read), ManifestContent(written));
}

void tst_ReleaseManifest::readManifest_content_isAccepted_data()
{
    QTest::addColumn<QByteArray>("content");
    const auto row = [](const char *rule, const QByteArray &content) {
        QTest::newRow(rule) << content;
    };
    const QByteArray release = "@release\t1\tf\t\n";
    row("all kinds", Head + File("a") + Link("b", "a") + Folder("c"));
    row("no application and no page", release + "@minimum\t0\n" + File("a"));
    row("numbers below zero", "@release\t-1\tf\t\n@minimum\t-2147483648\n" + File("a"));
    row("unknown line at the end", Head + File("a") + "@else\ta\tb\tc\n");
    row("unknown lines anywhere", release + "@x\n@minimum\t0\n@y\tz\n@page\thttps://h/\n@\n" +
                                      File("a") + "@x\ta\tb\tc\td\n");
    row("unknown line of another letter case", Head + File("a") + "@File\ta\n");
    row("size 0", Head + File("a").replace("\t1\t", "\t0\t"));
    row("least mode", Head + File("a", "0400"));
    row("greatest mode", Head + File("a", "0755"));
    row("folder that only its owner may enter", Head + Folder("a", "0500") + File("a/b"));
    row("folder with an empty one in it", Head + File("a") + Folder("b/c"));
    row("empty folder with a mode", Head + File("a") + Folder("b", "0700"));
    row("order of bytes", Head + File("B") + File("a") + File("a-b") + File("c/d") + File("c0"));
    row("names that begin alike", Head + File("a/b") + File("ab") + File("ab.c/d") + File("ab0/d"));
    row("decomposed name", Head + File("e\xCC\x81"));
    row("name of an old copy without its file", Head + File("a.old") + File("b.old/c"));
    row("manifest's name deeper", Head + File("a/update_md5.info"));
    row("signature's name deeper", Head + File("a/update_md5.info.minisig"));
    row("251 bytes in a name", Head + File(QByteArray(251, 'n')));
    row("1023 bytes in a path", Head + File(QByteArray("nnnnnnn/").repeated(127) + "nnnnnnn"));
}

void tst_ReleaseManifest::readManifest_content_isAccepted()
{
    QFETCH(QByteArray, content);
    QCOMPARE(Reason(content), QString());
}

/// Each row replaces one text in a valid manifest, and names the line and the reason.
void tst_ReleaseManifest::readManifest_oneLineChanged_isRefusedNamingTheLine_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *rule, const QByteArray &before, const QByteArray &after,
                        const char *reason) {
        QTest::newRow(rule) << before << after << QString::fromUtf8(reason);
    };
    const QByteArray release = "@release\t3100025\t3.10.25\t3.10.25\n";
    row("@release with three fields", "\t3.10.25\n", "\n",
        "line 1: it begins with '@' and has three fields, which is a file to older updaters");
    row("@release with two fields", "\t3.10.25\t3.10.25\n", "\n",
        "line 1: @release has 2 fields instead of 4");
    row("@release with five fields", "\t3.10.25\n", "\t3.10.25\t\n",
        "line 1: @release has 5 fields instead of 4");
    row("@release twice", release, release + release,
        "line 2: @release comes twice, or after what must follow it");
    row("version in hexadecimal", "3100025", "31000aa", "line 1: \"31000aa\" is not a number");
    row("version with a zero in front", "3100025", "03100025",
        "line 1: \"03100025\" is not a number");
    row("version with a plus sign", "3100025", "+3100025", "line 1: \"+3100025\" is not a number");
    row("version beyond an int", "3100025", "2147483648", "line 1: \"2147483648\" is not a number");
    row("no version", "3100025", "", "line 1: \"\" is not a number");
    row("folder upwards", "3.10.25", "..", "line 1: folder \"..\": it has a \"..\" component");
    row("folder deeper", "3.10.25", "a/b", "line 1: folder \"a/b\": it is a path, not a name");
    row("version text not UTF-8", "\t3.10.25\n", "\t3\xFF\n",
        "line 1: \"3\uFFFD\" does not survive UTF-8 unchanged");
    row("version text with the mark of lost letters", "\t3.10.25\n", "\t3\xEF\xBF\xBD\n",
        "line 1: \"3\uFFFD\" does not survive UTF-8 unchanged");
    row("@application with one field", "@application\tcom.example.sample", "@application",
        "line 2: @application has 1 fields instead of 2");
    row("@application without a name", "com.example.sample", "",
        "line 2: the application has no identifier");
    row("@application behind @minimum", "@application\tcom.example.sample\n@minimum\t3000000\n",
        "@minimum\t3000000\n@application\tcom.example.sample\n",
        "line 3: @application comes twice, or after what must follow it");
    row("no @minimum before @page", "@minimum\t3000000\n", "",
        "line 3: @minimum must come before it");
    row("no @minimum before a file", "@minimum\t3000000\n@page\thttps://www.example.com/\n", "",
        "line 3: @minimum must come before it");
    row("@minimum not a number", "3000000", "3.0.0", "line 3: \"3.0.0\" is not a number");
    row("@page not https", "https", "http",
        "line 4: \"http://www.example.com/\" is not an https address");
    row("@page behind a path", "\tlast\n", "\tlast\n@page\thttps://h/\n",
        "line 12: @page comes twice, or after what must follow it");
    row("MD5 text in capitals", Md5, QByteArray(32, 'A'),
        "line 5: its MD5 text is not 32 lower-case hexadecimal digits");
    row("MD5 text too short", Md5, Md5.mid(1),
        "line 5: its MD5 text is not 32 lower-case hexadecimal digits");
    const char *const size =
        "line 5: its size is not a lower-case hexadecimal number without leading zeros";
    row("size in capitals", "\t1\ta\n", "\tA\ta\n", size);
    row("size with a zero in front", "\t1\ta\n", "\t01\ta\n", size);
    row("size with a prefix", "\t1\ta\n", "\t0x1\ta\n", size);
    row("size with a blank", "\t1\ta\n", "\t1 \ta\n", size);
    row("size below zero", "\t1\ta\n", "\t-1\ta\n", size);
    row("no size", "\t1\ta\n", "\t\ta\n", size);
    row("size over 64 bits", "\t1\ta\n", "\t10000000000000000\ta\n", size);
    row("size too large", "\t1\ta\n", "\t7fffffc0\ta\n",
        "line 5: files of almost 2 GiB (2,147,483,584 bytes) and more cannot be updated");
    row("two fields", "\t1\ta\n", "\ta\n", "line 5: it does not have three fields");
    row("four fields", "\t1\ta\n", "\t1\t\ta\n", "line 5: it does not have three fields");
    row("line of three fields that begins with '@'", Md5 + "\t1\ta\n", "@x\t1\ta\n",
        "line 5: it begins with '@' and has three fields, which is a file to older updaters");
    row("empty line", "\tlast\n", "\tlast\n\n", "line 12: it does not have three fields");
    row("line of words", "\tlast\n", "\tlast\nend\n", "line 12: it does not have three fields");
    row("path with a dot", "\ta\n", "\t./a\n", "line 5: path \"./a\": it has a \".\" component");
    row("path upwards", "\ta\n", "\t../a\n", "line 5: path \"../a\": it has a \"..\" component");
    row("absolute path", "\ta\n", "\t/a\n", "line 5: path \"/a\": it is absolute");
    row("path with '#'", "\ta\n", "\ta#b\n",
        "line 5: path \"a#b\": it contains '#', which has a special meaning in a web address");
    row("path not UTF-8", "\ta\n", "\ta\xFF\n",
        "line 5: path \"a\uFFFD\": it does not survive UTF-8 unchanged");
    row("path that begins with a byte order mark", "\ta\n",
        "\t\xEF\xBB\xBF"
        "a\n",
        "line 5: path \"a\" does not survive UTF-8 unchanged");
    row("backslash", "\ta\n", "\ta\\b\n", "line 5: it contains a CR, NUL or backslash");
    row("NUL", "\ta\n", QByteArray("\ta\0\n", 4), "line 5: it contains a CR, NUL or backslash");
    row("CR LF", "\ta\n", "\ta\r\n", "line 5: it contains a CR, NUL or backslash");
    row("CR in an unknown line", "\tlast\n", "\tlast\n@x\r\n",
        "line 12: it contains a CR, NUL or backslash");
    const char *const noFile = "line 6: it is not the @file line of \"a\" with its four fields";
    row("no @file line", "@file\t" + Sha256 + "\t0644\ta\n", "", noFile);
    row("@file of another path", "\t0644\ta\n", "\t0644\tb\n", noFile);
    row("@file with three fields", "\t0644\ta\n", "\ta\n", noFile);
    row("@file with five fields", "\t0644\ta\n", "\t0644\ta\t\n", noFile);
    row("unknown line before @file", "\t1\ta\n", "\t1\ta\n@x\n", noFile);
    row("@file alone", Md5 + "\t1\ta\n", "",
        "line 5: @file does not follow the three fields of its file");
    row("@file twice", "\t0644\ta\n", "\t0644\ta\n@file\t" + Sha256 + "\t0644\ta\n",
        "line 7: @file does not follow the three fields of its file");
    const char *const sha = "line 6: its SHA-256 is not 64 lower-case hexadecimal digits";
    row("SHA-256 in capitals", Sha256, QByteArray(64, 'B'), sha);
    row("SHA-256 too short", Sha256, Sha256.mid(1), sha);
    row("SHA-256 too long", Sha256, Sha256 + 'b', sha);
    row("SHA-256 with another letter", Sha256, Sha256.mid(1) + 'g', sha);
    const char *const mode = "line 6: its mode is not four octal digits";
    row("mode with three digits", "0644", "644", mode);
    row("mode with five digits", "0644", "00644", mode);
    row("mode with an 8", "0644", "0684", mode);
    row("mode with a sign", "0644", "+644", mode);
    const auto forbidden = [](const char *digits) {
        return QStringLiteral("line 6: mode %1 lets others than the owner write, or has a "
                              "set-user-ID, set-group-ID or sticky bit")
            .arg(QLatin1String(digits));
    };
    for (const char *digits : {"4755", "2755", "1755", "0664", "0646", "0777"}) {
        QTest::newRow(digits) << QByteArray("0644") << QByteArray(digits) << forbidden(digits);
    }
    row("mode 0000", "0644", "0000", "line 6: mode 0000 does not let the owner read");
    row("mode 0355", "0644", "0355", "line 6: mode 0355 does not let the owner read");
    row("unknown line that counts", "\tlast\n", "\tlast\n@!x\ta\n",
        "line 12: @!x is unknown, and must not be ignored");
    row("the same with its name alone", "\tlast\n", "\tlast\n@!\n",
        "line 12: @! is unknown, and must not be ignored");
    row("@link with two fields", "\there\t-\tlast\n", "\tlast\n",
        "line 11: @link has 2 fields instead of 4");
    row("@link with three fields", "\there\t-\tlast\n", "\there\tlast\n",
        "line 11: it begins with '@' and has three fields, which is a file to older updaters");
    row("@link with something in the third", "\there\t-\tlast\n", "\there\tx\tlast\n",
        "line 11: the third field of @link is not \"-\"");
    row("@folder with something in the third", "\t-\tfolder\n", "\t\tfolder\n",
        "line 7: the third field of @folder is not \"-\"");
    row("@folder with five fields", "\t-\tfolder\n", "\t-\tfolder\t\n",
        "line 7: @folder has 5 fields instead of 4");
    row("@folder with a forbidden bit", "0700", "0720",
        "line 7: mode 0720 lets others than the owner write, or has "
        "a set-user-ID, set-group-ID or sticky bit");
    row("@folder that cannot be entered", "0700", "0600",
        "line 7: mode 0600 does not let the owner enter");
    row("@folder that needs none", "0700", "0755",
        "line 7: folder \"folder\" has the usual mode and is not empty, which needs no line");
    row("last line without LF", "\t-\tlast\n", "\t-\tlast",
        "line 11: it has no line end; the manifest is cut off");
    row("path twice", "\t-\tlast\n", "\t-\tlast\n@link\there\t-\tlast\n",
        "line 12: \"last\" is listed twice");
    row("paths in another order", "\t-\tlast\n", "\t-\tlast\n@link\there\t-\tkast\n",
        "line 12: \"kast\" comes after \"last\", which is not the order of their bytes");
}

void tst_ReleaseManifest::readManifest_oneLineChanged_isRefusedNamingTheLine()
{
    const QByteArray content = Head + File("a") + Folder("folder", "0700") + File("folder/b") +
                               Folder("here") + Link("last", "here");
    QCOMPARE(Reason(content), QString());
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    QFETCH(QString, reason);
    const int place = content.indexOf(before);
    QVERIFY(place >= 0);
    QCOMPARE(Reason(content.left(place) + after + content.mid(place + before.size())), reason);
}

void tst_ReleaseManifest::readManifest_content_isRefusedNamingTheLine_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *rule, const QByteArray &paths, const QString &reason) {
        QTest::newRow(rule) << Head + paths << reason;
    };
    row("no file", Folder("a"), "line 5: the manifest ends and lists no file");
    row("nothing but the beginning", "", "line 4: the manifest ends and lists no file");
    row("manifest's own name", File("update_md5.info"),
        R"(line 5: "update_md5.info" takes the manifest's own name)");
    row("manifest's own name for a folder", File("Update_MD5.info/a"),
        R"(line 5: "Update_MD5.info/a" takes the manifest's own name)");
    row("signature's name", File("a") + File("update_md5.info.minisig"),
        R"(line 7: "update_md5.info.minisig" takes the name of the manifest's signature)");
    row("signature's name with a long s", File("update_md5.info.mini\xC5\xBFig"),
        QString::fromUtf8("line 5: \"update_md5.info.mini\u017Fig\" takes the name of the "
                          "manifest's signature"));
    row("file and folder", File("a") + File("a-") + File("a/b"),
        R"(line 9: "a" is both a file and the folder of "a/b")");
    row("file and folder further up", File("a") + File("a/b/c"),
        R"(line 7: "a" is both a file and the folder of "a/b/c")");
    row("below a link", Folder("a") + Link("b", "a") + File("b/c"),
        R"(line 7: "b/c" goes through the link "b")");
    row("folder below a link", File("a") + Link("b", "a") + Folder("b/c/d"),
        R"(line 8: "b/c/d" goes through the link "b")");
    const QString differ(" differ only in letter case or Unicode normalisation");
    row("letter case", File("A") + File("B") + File("a"), "line 9: \"A\" and \"a\"" + differ);
    row("letter case of folders", File("A/b") + File("a/c"), "line 7: \"A\" and \"a\"" + differ);
    row("letter case of a file and a folder", File("A") + File("a/b"),
        "line 7: \"A\" and \"a\"" + differ);
    row("letter case of a link and a file", Link("A", "a") + File("a"),
        "line 6: \"A\" and \"a\"" + differ);
    row("letter case of an empty folder and a file", Folder("A") + File("a"),
        "line 6: \"A\" and \"a\"" + differ);
    row("normalisation", File("e\xCC\x81") + File("\xC3\xA9"),
        QString::fromUtf8("line 7: \"e\u0301\" and \"\u00E9\"") + differ);
    row("Greek letter case", File("\xCE\x91") + File("\xCE\xB1"),
        QString::fromUtf8("line 7: \"\u0391\" and \"\u03B1\"") + differ);
    row("first of two", File("A") + File("B") + File("a") + File("b"),
        "line 9: \"A\" and \"a\"" + differ);
    const QString kept(R"("a.old" takes the name reserved for the old "a")");
    row("name of an old copy", File("a") + File("a.old"), "line 7: " + kept);
    row("folder with the name of an old copy", File("a") + File("a.old/b"), "line 7: " + kept);
    row("link with the name of an old copy", File("a") + Link("a.old", "a"), "line 7: " + kept);
    row("name of an old copy in capitals", File("A") + File("a.OLD"),
        "line 7: " + QString(kept).replace("a.old", "a.OLD").replace("\"a\"", "\"A\""));
    row("over 251 bytes in a name", File(QByteArray(252, 'n')),
        QStringLiteral("line 5: path \"%1\": it has a name over 251 bytes in its decomposed form")
            .arg(QString(252, 'n')));
    const QString longPath = QStringLiteral("nnnnnnn/").repeated(128);
    row("over 1023 bytes in a path", File(longPath.toLatin1() + "n"),
        QStringLiteral("line 5: path \"%1n\": it has over 1023 bytes in its decomposed form")
            .arg(longPath));
}

void tst_ReleaseManifest::readManifest_content_isRefusedNamingTheLine()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, reason);
    QCOMPARE(Reason(content), reason);
}

/// Where a cut is not seen, what is left is a manifest of fewer paths: only the signature tells.
void tst_ReleaseManifest::readManifest_cutAnywhere_isRefusedOrEndsWithAPath()
{
    const QByteArray content = ManifestContent(Sample());
    int unseen = 0;
    for (int length = 0; length < content.size(); ++length) {
        const QByteArray left = content.left(length);
        if (!Reason(left).isEmpty()) {
            continue;
        }
        ++unseen;
        ReleaseManifest read;
        QCOMPARE(ReadManifest(left, read), QString());
        QCOMPARE(ManifestContent(read), left);
    }
    QCOMPARE(unseen, 4); // behind "a", and behind each path but the link and what it leads to
}

void tst_ReleaseManifest::readManifest_oldOne_isReadAsEver_data()
{
    QTest::addColumn<QByteArray>("content");
    const QByteArray line = Md5 + "\t1\ta\n";
    QTest::newRow("one file") << line;
    QTest::newRow("CR LF") << Md5 + "\t1\ta\r\n" + Md5 + "\tB\tb\r\n";
    QTest::newRow("last line without LF") << line + Md5 + "\t1\tb";
    QTest::newRow("any order, and twice") << Md5 + "\t1\tb\n" + line + Md5 + "\t2\tb\n";
    QTest::newRow("lines of other fields") << "\n# words\n" + line + "\t\t\t\n@x\ta\n";
    QTest::newRow("capitals and backslashes") << QByteArray(32, 'A') + "\t1F\t\\a\\b\n";
    QTest::newRow("names in another order as bytes")
        << Md5 + "\t1\t\xEF\xAC\x81\n" + Md5 + "\t1\t\xF0\x9F\x98\x80\n";
}

void tst_ReleaseManifest::readManifest_oldOne_isReadAsEver()
{
    QFETCH(QByteArray, content);
    ReleaseManifest manifest;
    QCOMPARE(ReadManifest(content, manifest), QString());
    QVERIFY(!manifest.isComplete);
    const QMap<QString, tagDownloadFileInfo> expected = ParseMd5File(content);
    QCOMPARE(static_cast<int>(manifest.files.size()), static_cast<int>(expected.size()));
    QByteArray last;
    for (const ManifestFile &file : manifest.files) {
        const tagDownloadFileInfo record = ManifestRecord(file);
        QVERIFY(expected.contains(file.path));
        QCOMPARE(record.sizeLow, expected.value(file.path).sizeLow);
        QCOMPARE(record.md5, expected.value(file.path).md5);
        QCOMPARE(file.sha256, QByteArray());
        QCOMPARE(file.mode, 0);
        QVERIFY(last < file.path.toUtf8());
        last = file.path.toUtf8();
    }
}

void tst_ReleaseManifest::readManifest_oldOne_isRefused_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *rule, const QByteArray &content, const char *reason) {
        QTest::newRow(rule) << content << QString::fromUtf8(reason);
    };
    const QByteArray line = Md5 + "\t1\ta\n";
    row("nothing", "", "line 1: the manifest lists no file");
    row("no line of three fields", "a\tb\n", "line 1: the manifest lists no file");
    row("@release behind a file", line + "@release\t1\tf\t1\n",
        "line 2: the manifest does not begin with @release");
    row("@release behind an empty line", "\n@release\t1\tf\t1\n@minimum\t0\n" + line,
        "line 2: the manifest does not begin with @release");
    row("@file", File("a"), "line 2: the manifest does not begin with @release");
    row("@link", line + Link("b", "a"), "line 2: the manifest does not begin with @release");
    row("@folder", Folder("b") + line, "line 1: the manifest does not begin with @release");
    row("unknown line that counts", line + "@!x\n",
        "line 2: the manifest does not begin with @release");
    row("three fields with '@'", line + "@x\t1\tb\n",
        "line 2: it begins with '@' and has three fields");
    row("path upwards", Md5 + "\t1\t../a\n", "path \"../a\": it has a \"..\" component");
    row("too large", Md5 + "\t7fffffc0\ta\n",
        "path \"a\": files of almost 2 GiB (2,147,483,584 bytes) and more cannot be updated");
    row("letter case", line + Md5 + "\t1\tA\n",
        "\"A\" and \"a\" differ only in letter case or Unicode normalisation");
    row("signature's name", Md5 + "\t1\tupdate_md5.info.minisig\n",
        "\"update_md5.info.minisig\" takes the name of the manifest's signature");
}

void tst_ReleaseManifest::readManifest_oldOne_isRefused()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, reason);
    QCOMPARE(Reason(content), reason);
}

void tst_ReleaseManifest::readManifest_links_areFollowedAsAFileSystemDoes_data()
{
    QTest::addColumn<QByteArray>("links"); // beside the file "f" and the folder "d/e" with a file
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *rule, const QByteArray &links, const char *reason) {
        QTest::newRow(rule) << links << QString::fromUtf8(reason);
    };
    const char *const nothing = "line 9: link \"l\" leads to nothing in the release";
    const char *const leaves = "line 9: link \"l\" leaves the release";
    const char *const circle = "line 9: link \"l\" goes in a circle, or through more than 32 links";
    row("file", Link("l", "f"), "");
    row("folder", Link("l", "d/e"), "");
    row("folder with a separator behind it", Link("l", "d/e/"), "");
    row("dots and separators", Link("l", "./d//./e/../e/file"), "");
    row("file with a separator behind it", Link("l", "f/"), nothing);
    row("below a file", Link("l", "f/.."), nothing);
    row("nothing", Link("l", "x"), nothing);
    row("folder above what is missing", Link("l", "x/../f"), nothing);
    row("another letter case", Link("l", "F"), nothing);
    row("beginning of a name", Link("l", "d/"), "");
    row("beginning of a name alone", Link("l", "d/ee"), nothing);
    row("the release itself", Link("l", "."), "");
    row("folder above the release", Link("l", ".."), leaves);
    row("out and in again", Link("l", "../r/f"), leaves);
    row("further out", Link("l", "d/../../f"), leaves);
    row("absolute", Link("l", "/f"), "line 9: link \"l\" points to \"/f\", which is absolute");
    row("empty target", Link("l", ""), "line 9: link \"l\" points to nothing: its target is empty");
    row("not UTF-8", Link("l", "f\xFF"), "line 9: \"f\uFFFD\" does not survive UTF-8 unchanged");
    row("'%'", Link("l", "f%"),
        "line 9: link \"l\" points to \"f%\": it contains '%', which has a special meaning in a "
        "web "
        "address");
    row("to itself", Link("l", "l"), circle);
    row("below itself", Link("l", "l/x"), circle);
    row("circle of two", Link("l", "m") + Link("m", "l"), circle);
    row("chain", Link("l", "m") + Link("m", "n") + Link("n", "f"), "");
    row("chain to nothing", Link("l", "m") + Link("m", "n") + Link("n", "x"), nothing);
    row("through a link", Link("l", "m/file") + Link("m", "d/e"), "");
    row("through a link to a file", Link("l", "m/file") + Link("m", "f"), nothing);
    // A browser would resolve ".." to "f"; a file system resolves it to "d/f", which does not
    // exist.
    row("back behind a link", Link("l", "m/../f") + Link("m", "d/e"), nothing);
    row("back behind a link to what is there", Link("l", "m/../e/file") + Link("m", "d/e"), "");
    row("out behind a link", Link("l", "m/..") + Link("m", "."), leaves);
    row("link deeper", Link("m/a/l", "../../f"), "");
    row("link deeper, to a folder above it", Link("m/a/l", ".."), "");
    row("link deeper, to the release itself", Link("m/a/l", "../.."), "");
    row("link deeper, out", Link("m/a/l", "../../.."), "line 9: link \"m/a/l\" leaves the release");
    row("framework",
        Link("l/Resources", "Versions/Current/Resources") + File("l/Versions/A/Resources/r") +
            Link("l/Versions/Current", "A"),
        "");
    row("empty folder", Link("l", "m") + Folder("m"), "");
}

void tst_ReleaseManifest::readManifest_links_areFollowedAsAFileSystemDoes()
{
    QFETCH(QByteArray, links);
    QFETCH(QString, reason);
    QCOMPARE(Reason(Head + File("d/e/file") + File("f") + links), reason);
}

void tst_ReleaseManifest::readManifest_chainOfLinks_mayBe32Long()
{
    for (const int length : {1, 31, 32, 33, 100}) {
        for (const bool isUpwards : {true, false}) { // to the next link, or the previous one
            QByteArray content = Head;
            for (int number = 0; number < length; ++number) {
                const int next = isUpwards ? number + 1 : number - 1;
                const bool isEnd = next < 0 || next == length;
                content += Link("l" + QByteArray::number(1000 + number),
                                isEnd ? "target" : "l" + QByteArray::number(1000 + next));
            }
            content += File("target");
            const QString reason = Reason(content);
            QCOMPARE(reason.isEmpty(), length <= 32);
            QVERIFY(reason.isEmpty() || reason.contains("more than 32 links"));
        }
    }
}

void tst_ReleaseManifest::readManifest_manyPaths_areAMillionAtMost()
{
    QByteArray content = Head + File("a");
    for (int number = 1; number < MostManifestPaths; ++number) {
        content += "@folder\t0755\t-\tf" + QByteArray::number(number + MostManifestPaths) + '\n';
    }
    QCOMPARE(Reason(content + Folder("g")), // a million lines before it are fine
             QString("line 1000006: it lists more than 1000000 paths"));

    QByteArray folders = Head;
    for (int number = 0; number < 2001; ++number) {
        folders += File(QByteArray::number(number + 1000) + QByteArray("/a").repeated(500));
    }
    QCOMPARE(Reason(folders), QString("line 4005: it has more than 1000000 folders"));
}

void tst_ReleaseManifest::readManifestHead_content_isReadUpToThePaths_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("isRead");
    QTest::newRow("a release") << Head + File("a") + Link("l", "a") << true;
    QTest::newRow("no more than the head") << Head << true;
    QTest::newRow("an unknown line") << Head + "@later\tx\n" + File("a") << true;
    QTest::newRow("a path that is refused") << Head + File("../a") << true;
    QTest::newRow("nothing") << QByteArray() << false;
    QTest::newRow("an old manifest") << Md5 + "\t1\ta\n" << false;
    QTest::newRow("an unknown line that matters") << Head + "@!later\tx\n" + File("a") << false;
    QTest::newRow("a number that is none") << QByteArray(Head).replace("3100025", "x") << false;
    QTest::newRow("a folder outside") << QByteArray(Head).replace("\t3.10.25\t", "\t..\t") << false;
    QTest::newRow("a page that is no address")
        << QByteArray(Head).replace("https", "file") << false;
    QTest::newRow("cut in its first line") << Head.left(12) << false;
}

void tst_ReleaseManifest::readManifestHead_content_isReadUpToThePaths()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, isRead);
    ReleaseManifest manifest;
    manifest.files.resize(1); // of another one
    QCOMPARE(ReadManifestHead(content, manifest), isRead);
    if (!isRead) {
        return;
    }
    QVERIFY(manifest.isComplete);
    QCOMPARE(manifest.version, 3100025);
    QCOMPARE(manifest.folder, QStringLiteral("3.10.25"));
    QCOMPARE(manifest.versionString, QStringLiteral("3.10.25"));
    QCOMPARE(manifest.application, QStringLiteral("com.example.sample"));
    QCOMPARE(manifest.minVersion, 3000000);
    QCOMPARE(manifest.page, QStringLiteral("https://www.example.com/"));
    QVERIFY(manifest.files.empty() && manifest.links.empty() && manifest.folders.empty());
}

void tst_ReleaseManifest::manifestRecord_file_isWhatTheParserGives()
{
    const ManifestFile file{QStringLiteral("资源/a"), 0x123456789, Md5, Sha256, 0644};
    const tagDownloadFileInfo record = ManifestRecord(file);
    ReleaseManifest manifest;
    manifest.files = {file};
    const tagDownloadFileInfo parsed = ParseMd5File(ManifestContent(manifest)).first();
    QCOMPARE(record.path, parsed.path);
    QCOMPARE(record.sizeHigh, parsed.sizeHigh);
    QCOMPARE(record.sizeHigh, 1U);
    QCOMPARE(record.sizeLow, parsed.sizeLow);
    QCOMPARE(record.md5, parsed.md5);
}

void tst_ReleaseManifest::modeReason_mode_isAsExpected_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("forFile");
    QTest::addColumn<bool>("forFolder");
    QTest::newRow("0755") << 0755 << true << true;
    QTest::newRow("0644") << 0644 << true << false;
    QTest::newRow("0400") << 0400 << true << false;
    QTest::newRow("0500") << 0500 << true << true;
    QTest::newRow("0311") << 0311 << false << false;
    QTest::newRow("0775") << 0775 << false << false;
    QTest::newRow("0757") << 0757 << false << false;
    QTest::newRow("1755") << 01755 << false << false;
    QTest::newRow("2755") << 02755 << false << false;
    QTest::newRow("4755") << 04755 << false << false;
    QTest::newRow("regular file's type") << 0100755 << false << false;
    QTest::newRow("below zero") << -1 << false << false;
}

void tst_ReleaseManifest::modeReason_mode_isAsExpected()
{
    QFETCH(int, mode);
    QFETCH(bool, forFile);
    QFETCH(bool, forFolder);
    QCOMPARE(FileModeReason(mode).isEmpty(), forFile);
    QCOMPARE(FolderModeReason(mode).isEmpty(), forFolder);
}

QTEST_APPLESS_MAIN(tst_ReleaseManifest)
#include "tst_releasemanifest.moc"
