// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"
#include "publish/CommandLine.h"
#include "tests/publish/PublishTool.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

/// What publish_update publishes, and its command line.
class tst_Publish : public QObject {
    Q_OBJECT

private slots:
    void init();
    void publish_release_isCopiedWithItsManifest();
    void publish_release_isWhatAnUpdaterExpects();
    void publish_description_saysWhatTheOptionsSay();
    void publish_options_haveTheirDefaults();
    void publish_modes_letAWebServerRead_data();
    void publish_modes_letAWebServerRead();
    void publish_secondVersion_standsBesideTheFirst();
    void publish_linksAndFolders_areInTheManifestOnly();
    void publish_hardLinks_areFiles();
    void publish_sameRelease_hasTheSameManifestAnywhere();
    void publish_pathOfTheRelease_mayBeWrittenInAnyWay_data();
    void publish_pathOfTheRelease_mayBeWrittenInAnyWay();
    void publish_noThreads_stillPublishes();
    void publish_minVersionAbove_isWarnedOf();
    void publish_otherLocale_stillWritesUtf8();
    void publish_terminal_showsProgress();
    void usage_bad_exitsWith2_data();
    void usage_bad_exitsWith2();
    static void usage_help_tellsEverythingInOrder();
    static void usage_version_isPrinted();

private:
    QJsonObject description() const;

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_release;
    QString m_output;
};

namespace {

const QString GoodKey = "RWQf6LRCGA9i53mlYecO4IzT51TGPpvWucNSCh1CBM0QTaLn73Y7GFO3";

} // namespace

void tst_Publish::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_release = m_folder->filePath("release");
    m_output = m_folder->filePath("output");
    WriteFile(m_release + "/Contents/MacOS/Host", "host");
    QVERIFY(QFile::setPermissions(m_release + "/Contents/MacOS/Host", QFile::Permissions(0x7755)));
    WriteFile(m_release + QStringLiteral("/资源/a b.txt"), "");
    WriteFile(m_release + "/.hidden", QByteArray(100000, 'h'));
}

QJsonObject tst_Publish::description() const
{
    return QJsonDocument::fromJson(FilesBelow(m_output).value("update.json")).object();
}

void tst_Publish::publish_release_isCopiedWithItsManifest()
{
    const ToolRun run = RunPublish(PublishArguments(m_release, m_output));
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(QString::fromUtf8(run.output),
             "Published version 3.10.25 (3100025): 3 files, 100004 bytes, in " +
                 Quoted(m_output + "/3.10.25") + ".\n");
    QCOMPARE(run.exitCode, 0);

    QMap<QString, QByteArray> published = FilesBelow(m_output + "/3.10.25");
    const QByteArray manifest = published.take("update_md5.info");
    QCOMPARE(published, FilesBelow(m_release));
    QCOMPARE(manifest, HeadLines() + FileLines(".hidden", QByteArray(100000, 'h')) +
                           FileLines("Contents/MacOS/Host", "host", "0755") +
                           FileLines("资源/a b.txt", {}));
    QCOMPARE(QDir(m_output).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList({"3.10.25", "update.json"}));
}

void tst_Publish::publish_release_isWhatAnUpdaterExpects()
{
    QCOMPARE(RunPublish(PublishArguments(m_release, m_output)).exitCode, 0);
    const QByteArray manifest = FilesBelow(m_output).value("3.10.25/update_md5.info");
    const QMap<QString, tagDownloadFileInfo> records = ParseMd5File(manifest);
    QCOMPARE(records.size(), 3);
    QVERIFY(CheckMd5(records, m_folder->filePath("none"), QDir(m_output + "/3.10.25")).isEmpty());
    QVERIFY(CheckMd5(records, m_folder->filePath("none"), QDir(m_release)).isEmpty());
}

void tst_Publish::publish_description_saysWhatTheOptionsSay()
{
    const ToolRun run =
        RunPublish({"--version", "3.10.25", "--min-version", "2.1.3", "--download-url",
                    "https://www.example.com/d?a=b", "--version-string", QStringLiteral("三"),
                    "--folder", "winter", m_release, m_output});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(description(), QJsonObject({{"Version", 3100025},
                                         {"VersionString", QStringLiteral("三")},
                                         {"Folder", "winter"},
                                         {"MinVersion", 2010003},
                                         {"DownloadUrl", "https://www.example.com/d?a=b"}}));
    QVERIFY(QFileInfo(m_output + "/winter/update_md5.info").isFile());
}

void tst_Publish::publish_options_haveTheirDefaults()
{
    QCOMPARE(RunPublish(PublishArguments(m_release, m_output)).exitCode, 0);
    QCOMPARE(description().value("VersionString").toString(), QString("3.10.25"));
    QCOMPARE(description().value("Folder").toString(), QString("3.10.25"));
}

void tst_Publish::publish_modes_letAWebServerRead_data()
{
    QTest::addColumn<QString>("umask");
    QTest::addColumn<int>("folderMode");
    QTest::newRow("usual") << "022" << 0755;
    QTest::newRow("closed") << "077" << 0755;
    QTest::newRow("for a group") << "002" << 0775;
}

void tst_Publish::publish_modes_letAWebServerRead()
{
    QFETCH(QString, umask);
    QFETCH(int, folderMode);
    QVERIFY(QFile::setPermissions(m_release + "/.hidden", QFile::Permissions(0x6600)));
    const QString output = m_output + "/new/er";
    const ToolRun run = RunPublish(PublishArguments(m_release, output),
                                   {"sh", "-c", R"(umask "$0" && exec "$@")", umask});
    QCOMPARE(run.exitCode, 0);
    const auto mode = [](const QString &path) {
        struct stat status {};
        return ::stat(path.toUtf8().constData(), &status) == 0 ? int(status.st_mode & 07777) : -1;
    };
    const QStringList paths = FilesBelow(m_output).keys();
    QVERIFY(paths.size() >= 9);
    for (const QString &path : paths) {
        const bool isFolder = QFileInfo(m_output + "/" + path).isDir();
        const int found = mode(m_output + "/" + path);
        QVERIFY2(isFolder ? found == folderMode : (found & 0444) == 0444, qPrintable(path));
    }
    QCOMPARE(mode(m_output), folderMode);
}

void tst_Publish::publish_secondVersion_standsBesideTheFirst()
{
    QCOMPARE(RunPublish(PublishArguments(m_release, m_output)).exitCode, 0);
    const QMap<QString, QByteArray> first = FilesBelow(m_output + "/3.10.25");
    WriteFile(m_release + "/.hidden", "new");
    QStringList arguments = PublishArguments(m_release, m_output);
    arguments.replace(1, "3.11.0");
    QCOMPARE(RunPublish(arguments).exitCode, 0);
    QCOMPARE(FilesBelow(m_output + "/3.10.25"), first);
    QCOMPARE(FilesBelow(m_output).value("3.11.0/.hidden"), QByteArray("new"));
    QCOMPARE(description().value("Folder").toString(), QString("3.11.0"));
    QCOMPARE(description().value("Version").toInt(), 3110000);
}

void tst_Publish::publish_linksAndFolders_areInTheManifestOnly()
{
    QVERIFY(QFile::link("MacOS", m_release + "/Contents/Current"));
    QVERIFY(QFile::link("Contents/Current/Host", m_release + "/.host"));
    QVERIFY(QDir(m_release).mkpath("Contents/Empty/Deep"));
    QVERIFY(QDir(m_release).mkpath("closed"));
    WriteFile(m_release + "/closed/file", "");
    QVERIFY(QFile::setPermissions(m_release + "/closed", QFile::Permissions(0x7700)));
    const ToolRun run = RunPublish(PublishArguments(m_release, m_output));
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.output.contains("4 files, 2 links, 100004 bytes"), run.output.constData());
    const QMap<QString, QByteArray> published = FilesBelow(m_output + "/3.10.25");
    const QByteArray manifest = published.value("update_md5.info");
    QVERIFY(manifest.contains("\n@link\tMacOS\t-\tContents/Current\n"));
    QVERIFY(manifest.contains("\n@link\tContents/Current/Host\t-\t.host\n"));
    QVERIFY(manifest.contains("\n@folder\t0755\t-\tContents/Empty/Deep\n"));
    QVERIFY(!manifest.contains("\tContents/Empty\n"));
    QVERIFY(manifest.contains("\n@folder\t0700\t-\tclosed\n"));
    QVERIFY(!published.contains("Contents/Current") && !published.contains("Contents/Empty"));
}

void tst_Publish::publish_hardLinks_areFiles()
{
    const QByteArray host = (m_release + "/Contents/MacOS/Host").toUtf8();
    QCOMPARE(::link(host.constData(), (host + " again").constData()), 0);
    QCOMPARE(RunPublish(PublishArguments(m_release, m_output)).exitCode, 0);
    const QByteArray manifest = FilesBelow(m_output).value("3.10.25/update_md5.info");
    QVERIFY(manifest.contains(FileLines("Contents/MacOS/Host again", "host", "0755")));
    QCOMPARE(QFileInfo(m_output + "/3.10.25/Contents/MacOS/Host again").size(), 4);
    struct stat status {};
    const QByteArray copy = (m_output + "/3.10.25/Contents/MacOS/Host").toUtf8();
    QCOMPARE(::stat(copy.constData(), &status), 0);
    QCOMPARE(int(status.st_nlink), 1);
}

void tst_Publish::publish_sameRelease_hasTheSameManifestAnywhere()
{
    QCOMPARE(RunPublish(PublishArguments(m_release, m_output)).exitCode, 0);
    const QString copy = m_folder->filePath("copy");
    QVERIFY(QDir().mkpath(copy));
    WriteFile(copy + QStringLiteral("/资源/a b.txt"), "");
    WriteFile(copy + "/.hidden", QByteArray(100000, 'h'));
    WriteFile(copy + "/Contents/MacOS/Host", "host");
    QVERIFY(QFile::setPermissions(copy + "/Contents/MacOS/Host", QFile::Permissions(0x7755)));
    const QString other = m_folder->filePath("other");
    QCOMPARE(RunPublish(PublishArguments(copy, other), {"env", "LC_ALL=C"}).exitCode, 0);
    QCOMPARE(FilesBelow(other), FilesBelow(m_output));
}

void tst_Publish::publish_pathOfTheRelease_mayBeWrittenInAnyWay_data()
{
    QTest::addColumn<QString>("folder"); // the working folder
    QTest::addColumn<QString>("path");
    QTest::newRow("relative") << ""
                              << "release";
    QTest::newRow("separator at the end") << ""
                                          << "release/";
    QTest::newRow("several separators") << ""
                                        << "release//";
    QTest::newRow("dot before") << ""
                                << "./release";
    QTest::newRow("dot behind") << ""
                                << "release/.";
    QTest::newRow("dot only") << "release"
                              << ".";
    QTest::newRow("dot and separator") << "release"
                                       << "./";
    QTest::newRow("upwards") << "release/Contents"
                             << "..";
    QTest::newRow("up and down again") << "release"
                                       << "../release";
}

void tst_Publish::publish_pathOfTheRelease_mayBeWrittenInAnyWay()
{
    QFETCH(QString, folder);
    QFETCH(QString, path);
    const ToolRun run = RunPublish(
        PublishArguments(path, m_output),
        {"sh", "-c", R"(cd "$0" && exec "$@")", m_folder->path() + QLatin1Char('/') + folder});
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QMap<QString, QByteArray> published = FilesBelow(m_output + "/3.10.25");
    const QByteArray manifest = published.take("update_md5.info");
    QCOMPARE(published, FilesBelow(m_release));
    QCOMPARE(ParseMd5File(manifest).keys(),
             QStringList({".hidden", "Contents/MacOS/Host", QStringLiteral("资源/a b.txt")}));
}

void tst_Publish::publish_noThreads_stillPublishes()
{
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    QSKIP("The sanitizer needs its own threads.");
#endif
    // An unused user number: root's threads are not limited.
    const QStringList nobody{"setpriv", "--reuid=54321", "--inh-caps=+dac_override",
                             "--ambient-caps=+dac_override"};
    const QStringList wrapper{"prlimit", "--nproc=1"};
    const ToolRun run = RunPublish(PublishArguments(m_release, m_output),
                                   ::geteuid() == 0 ? nobody + wrapper : wrapper);
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QMap<QString, QByteArray> published = FilesBelow(m_output + "/3.10.25");
    QVERIFY(published.remove("update_md5.info"));
    QCOMPARE(published, FilesBelow(m_release));
}

void tst_Publish::publish_minVersionAbove_isWarnedOf()
{
    QStringList arguments = PublishArguments(m_release, m_output);
    arguments.replace(3, "3.10.26");
    const ToolRun run = RunPublish(arguments);
    QCOMPARE(run.exitCode, 0);
    QVERIFY(run.errors.contains("warning: the minimum version is above the version"));
}

void tst_Publish::publish_otherLocale_stillWritesUtf8()
{
    const ToolRun run = RunPublish(PublishArguments(m_release, m_output), {"env", "LC_ALL=C"});
    QCOMPARE(run.exitCode, 0);
    QVERIFY(FilesBelow(m_output).contains(QStringLiteral("3.10.25/资源/a b.txt")));
    QVERIFY(FilesBelow(m_output).value("3.10.25/update_md5.info").contains("资源/a b.txt"));
}

void tst_Publish::publish_terminal_showsProgress()
{
    const QStringList arguments = PublishArguments(m_release, m_output);
    const QString command = PublishProgram() + " '" + arguments.join("' '") + "'";
    QProcess terminal;
    terminal.start("script", {"-qec", command, "/dev/null"});
    QVERIFY(terminal.waitForFinished());
    QCOMPARE(terminal.exitCode(), 0);
    const QByteArray shown = terminal.readAllStandardOutput();
    QVERIFY2(shown.contains(" of 3 files copied"), shown.constData());
    QVERIFY2(shown.contains("%  "), shown.constData());
}

void tst_Publish::usage_bad_exitsWith2_data()
{
    QTest::addColumn<QStringList>("arguments");
    const QStringList good = PublishArguments("RELEASE", "OUTPUT");
    const auto without = [&good](int index, int count) -> QStringList {
        return good.mid(0, index) + good.mid(index + count);
    };
    QTest::newRow("nothing") << QStringList();
    QTest::newRow("no version") << without(0, 2);
    QTest::newRow("no minimum version") << without(2, 2);
    QTest::newRow("no download address") << without(4, 2);
    QTest::newRow("no output folder") << without(7, 1);
    QTest::newRow("a third folder") << good + QStringList("THIRD");
    QTest::newRow("unknown option") << good + QStringList("--quick");
    QTest::newRow("option without its value") << good + QStringList("--folder");
    QTest::newRow("empty version") << without(0, 2) + QStringList{"--version", ""};
    QTest::newRow("empty output folder") << without(7, 1) + QStringList("");
    QTest::newRow("verify without an address") << QStringList("--verify");
    QTest::newRow("verify and a folder") << QStringList({"--verify", "http://h", "RELEASE"});
    QTest::newRow("verify and publish") << good + QStringList({"--verify", "http://h"});
    QTest::newRow("verify and an option") << QStringList{"--verify", "http://h", "--force"};
    QTest::newRow("verify another scheme") << QStringList({"--verify", "file:///tmp"});
    QTest::newRow("verify no host") << QStringList({"--verify", "http:///a"});
    QTest::newRow("verify a query") << QStringList({"--verify", "http://h/?a"});
    QTest::newRow("verify an empty address") << QStringList({"--verify", ""});
    QTest::newRow("version with something else") << QStringList{"--version", "--json"};
    QTest::newRow("an empty application") << good + QStringList{"--application", ""};
    QTest::newRow("an empty command") << good + QStringList{"--sign-with", " "};
    QTest::newRow("a key and nothing that signs") << good + QStringList{"--public-key", GoodKey};
    QTest::newRow("a key that is none")
        << good + QStringList{"--sign-with", "true", "--public-key", "RWQ"};
    QTest::newRow("a key of many lines")
        << QStringList{"--verify", "http://h", "--public-key", "untrusted comment:\n" + GoodKey};
    QTest::newRow("list nothing") << QStringList{"--list", ""};
    QTest::newRow("list and a folder") << QStringList{"--list", "OUTPUT", "OUTPUT"};
    QTest::newRow("list by force") << QStringList{"--list", "OUTPUT", "--force"};
    QTest::newRow("list and prune") << QStringList{"--list", "OUTPUT", "--prune", "1"};
    QTest::newRow("announce nowhere") << QStringList{"--announce", "3.10.25"};
    QTest::newRow("announce nothing") << QStringList{"--announce", "", "OUTPUT"};
    QTest::newRow("announce and verify")
        << QStringList{"--announce", "3.10.25", "--verify", "http://h", "OUTPUT"};
    QTest::newRow("prune nowhere") << QStringList{"--prune", "1"};
    QTest::newRow("prune to fewer than none") << QStringList{"--prune", "-1", "OUTPUT"};
    QTest::newRow("prune to a word") << QStringList{"--prune", "all", "OUTPUT"};
    QTest::newRow("prune and a dry run") << QStringList{"--prune", "1", "--dry-run", "OUTPUT"};
}

void tst_Publish::usage_bad_exitsWith2()
{
    QFETCH(QStringList, arguments);
    arguments.replaceInStrings(QRegularExpression("^RELEASE$"), m_release);
    arguments.replaceInStrings(QRegularExpression("^OUTPUT$"), m_output);
    const ToolRun run = RunPublish(arguments);
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(run.output, QByteArray());
    QVERIFY(run.errors.startsWith("publish_update: "));
    QVERIFY(run.errors.endsWith("Try publish_update --help.\n"));
    QVERIFY(!QFileInfo::exists(m_output));
}

void tst_Publish::usage_help_tellsEverythingInOrder()
{
    const ToolRun run = RunPublish({"--help"});
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(RunPublish({"-h"}).output, run.output);
    int last = -1;
    for (const char *heading :
         {"Usage:", "Options for publishing:", "Other forms:", "Exit codes:", "Example:"}) {
        const int at = run.output.indexOf(heading);
        QVERIFY2(at > last, heading);
        last = at;
    }
    const QStringList options = KnownOptions();
    QVERIFY(options.size() >= 16);
    for (const QString &option : options) {
        const QByteArray line = "  --" + option.toUtf8();
        QVERIFY2(run.output.contains(line) || run.output.contains("  -h," + line.mid(1)),
                 line.constData());
    }
    const QList<QByteArray> lines = run.output.split('\n');
    for (const QByteArray &line : lines) {
        QVERIFY2(line.size() <= 100, line.constData());
    }
}

void tst_Publish::usage_version_isPrinted()
{
    const ToolRun run = RunPublish({"--version"});
    QCOMPARE(run.output, QByteArray("publish_update " PUBLISH_UPDATE_VERSION "\n"));
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
}

QTEST_GUILESS_MAIN(tst_Publish)
#include "tst_publish.moc"
