// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/publish/PublishTool.h"
#include "tests/support/SigningKey.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

/// publish_update --list, --announce and --prune: managing published releases.
class tst_PublishList : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void list_releases_newestFirst();
    void list_json_saysTheSame();
    void list_oldRelease_isListed();
    void list_brokenThings_areReported_data();
    void list_brokenThings_areReported();
    void list_nothing_isSaid();
    void announce_olderRelease_withdrawsTheNewer();
    void announce_newerRelease_rollsForward();
    void announce_signedRelease_needsItsKey();
    void announce_unfit_isRefused_data();
    void announce_unfit_isRefused();
    void announce_withAnExtraFile_isWarnedOf();
    void prune_keepsTheNewestAndTheAnnounced_data();
    void prune_keepsTheNewestAndTheAnnounced();
    void prune_unknownThings_areLeftAlone();
    void prune_unclearAnnouncement_removesNothing();
    void prune_announcedInAnotherSpelling_isLeftAlone_data();
    void prune_announcedInAnotherSpelling_isLeftAlone();
    void prune_killed_isFinishedByTheNextRun();
    void output_inUse_isRefused();
    void result_cannotBeWritten_isAFailure_data();
    void result_cannotBeWritten_isAFailure();

private:
    void publish(const QString &version, const QStringList &options = {}) const;
    QStringList folders() const;
    QString announced() const;
    ToolRun run(const QStringList &arguments) const { return RunPublish(arguments); }

    const SigningKey m_key;
    QTemporaryDir m_published; // three releases, the second one signed
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_output;
};

void tst_PublishList::publish(const QString &version, const QStringList &options) const
{
    QStringList arguments = PublishArguments(m_published.filePath("release"), m_output);
    arguments.replace(1, version);
    const ToolRun run = RunPublish(options + arguments);
    QVERIFY2(run.exitCode == 0, run.errors.constData());
}

void tst_PublishList::initTestCase()
{
    WriteFile(m_published.filePath("release/a"), "content");
    WriteFile(m_published.filePath("release/d/b"), "more");
    m_output = m_published.filePath("output");
    publish("3.9.0");
    publish("3.10.0", {"--sign-with", m_key.command(), "--public-key", m_key.publicKey(),
                       "--application", "a.b.c"});
    publish("3.11.0", {"--version-string", QStringLiteral("三")});
}

void tst_PublishList::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_output = m_folder->filePath("output");
    QCOMPARE(QProcess::execute("cp", {"-a", m_published.filePath("output"), m_output}), 0);
}

QStringList tst_PublishList::folders() const
{
    return QDir(m_output).entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
}

QString tst_PublishList::announced() const
{
    return QJsonDocument::fromJson(ReadFile(m_output + "/update.json"))
        .object()
        .value("Folder")
        .toString();
}

void tst_PublishList::list_releases_newestFirst()
{
    const QMap<QString, QByteArray> before = FilesBelow(m_output);
    const ToolRun list = run({"--list", m_output});
    QCOMPARE(list.errors, QByteArray());
    QCOMPARE(list.exitCode, 0);
    QCOMPARE(QString::fromUtf8(list.output),
             QStringLiteral("   folder  version   number  files  bytes  signed\n"
                            "*  3.11.0  三        3110000      2     11  no\n"
                            "   3.10.0  3.10.0   3100000      2     11  yes\n"
                            "   3.9.0   3.9.0    3090000      2     11  no\n"));
    QCOMPARE(FilesBelow(m_output), before);
}

void tst_PublishList::list_json_saysTheSame()
{
    const ToolRun list = run({"--list", m_output, "--json"});
    const QJsonObject object = QJsonDocument::fromJson(list.output).object();
    QCOMPARE(object.value("success").toBool(), true);
    const QJsonArray releases = object.value("releases").toArray();
    QCOMPARE(releases.size(), 3);
    QCOMPARE(releases.at(0).toObject(), QJsonObject({{"folder", "3.11.0"},
                                                     {"versionString", QStringLiteral("三")},
                                                     {"version", 3110000},
                                                     {"files", 2},
                                                     {"bytes", 11},
                                                     {"signed", false},
                                                     {"announced", true}}));
    QCOMPARE(releases.at(1).toObject().value("signed").toBool(), true);
}

void tst_PublishList::list_oldRelease_isListed()
{
    WriteFile(m_output + "/3.8.0/update_md5.info", "98500190b04fd23c7d3f96d6727fe128\t3\tx\n");
    WriteFile(m_output + "/winter/update_md5.info", "98500190b04fd23c7d3f96d6727fe128\t3\tx\n");
    WriteFile(m_output + "/no release/file", "");
    const ToolRun list = run({"--list", m_output});
    QCOMPARE(list.exitCode, 0);
    QVERIFY2(list.output.endsWith("   3.8.0   3.8.0    3080000      1      3  no\n"
                                  "   winter  ?              ?      1      3  no\n"),
             list.output.constData());
}

void tst_PublishList::list_brokenThings_areReported_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("manifest") << "3.9.0/update_md5.info" << QByteArray("@release\t1\n")
                              << QByteArray("3.9.0/update_md5.info: line 1: ");
    QTest::newRow("description") << "update.json" << QByteArray("{")
                                 << QByteArray("update.json: it is not JSON");
    QTest::newRow("announces nothing that is there")
        << "update.json"
        << QByteArray(R"({"Version":1,"VersionString":"","Folder":"4","MinVersion":0,)"
                      R"("DownloadUrl":"https://h/"})")
        << QByteArray(R"(update.json: it announces "4", which is not there.)");
}

void tst_PublishList::list_brokenThings_areReported()
{
    QFETCH(QString, file);
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, message);
    WriteFile(m_output + "/" + file, content);
    const ToolRun list = run({"--list", m_output});
    QCOMPARE(list.exitCode, 1);
    QVERIFY2(list.errors.contains(message), list.errors.constData());
    QVERIFY(list.output.contains("3.10.0")); // the others anyway
    const QJsonObject object =
        QJsonDocument::fromJson(run({"--list", m_output, "--json"}).output).object();
    QCOMPARE(object.value("success").toBool(), false);
    QCOMPARE(object.value("problems").toArray().size(), 1);
}

void tst_PublishList::list_nothing_isSaid()
{
    const QString empty = m_folder->filePath("empty");
    QVERIFY(QDir().mkdir(empty));
    const ToolRun none = run({"--list", empty});
    QCOMPARE(none.exitCode, 0);
    QCOMPARE(QString::fromUtf8(none.output), "There is no release in " + Quoted(empty) + ".\n");
    QCOMPARE(run({"--list", m_folder->filePath("missing")}).exitCode, 1);
}

void tst_PublishList::announce_olderRelease_withdrawsTheNewer()
{
    const ToolRun back = run({"--announce", "3.10.0", m_output});
    QCOMPARE(back.errors, QByteArray());
    QCOMPARE(back.exitCode, 0);
    QCOMPARE(QString::fromUtf8(back.output),
             "Announced version 3.10.0 (3100000) in " + Quoted(m_output + "/3.10.0") + ".\n");
    const QJsonObject object =
        QJsonDocument::fromJson(ReadFile(m_output + "/update.json")).object();
    QCOMPARE(object, QJsonObject({{"Version", 3100000},
                                  {"VersionString", "3.10.0"},
                                  {"Folder", "3.10.0"},
                                  {"MinVersion", 3000000},
                                  {"DownloadUrl", "https://www.example.com/download"}}));
    QCOMPARE(folders(), QStringList({"3.10.0", "3.11.0", "3.9.0"}));
}

void tst_PublishList::announce_newerRelease_rollsForward()
{
    const QByteArray newest = ReadFile(m_output + "/update.json");
    QCOMPARE(run({"--announce", "3.9.0", m_output}).exitCode, 0);
    QCOMPARE(announced(), QString("3.9.0"));
    QCOMPARE(run({"--announce", "3.11.0", m_output}).exitCode, 0);
    QCOMPARE(ReadFile(m_output + "/update.json"), newest); // texts included
}

void tst_PublishList::announce_signedRelease_needsItsKey()
{
    const QStringList key{"--public-key", m_key.publicKey()};
    QCOMPARE(run(key + QStringList{"--announce", "3.10.0", m_output}).exitCode, 0);
    const ToolRun other = run(
        QStringList{"--announce", "3.10.0", m_output, "--public-key", SigningKey().publicKey()});
    QCOMPARE(other.exitCode, 1);
    QVERIFY2(other.errors.contains("3.10.0/update_md5.info.minisig: "), other.errors.constData());
    const ToolRun unsignedOne = run(key + QStringList{"--announce", "3.9.0", m_output});
    QCOMPARE(unsignedOne.exitCode, 1);
    QVERIFY2(unsignedOne.errors.contains("3.9.0/update_md5.info.minisig: it is missing."),
             unsignedOne.errors.constData());
    QCOMPARE(announced(), QString("3.10.0"));
}

void tst_PublishList::announce_unfit_isRefused_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("command"); // run in the output folder first
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("not there") << "4.0.0"
                               << "true" << QByteArray(R"(There is no release "4.0.0" in )");
    QTest::newRow("above") << ".."
                           << "true" << QByteArray(R"(".." cannot be a release's folder: )");
    QTest::newRow("a path") << "3.9.0/d"
                            << "true" << QByteArray("it is a path, not a name");
    QTest::newRow("no release") << "other"
                                << "mkdir other" << QByteArray("other/update_md5.info: ");
    QTest::newRow("file missing") << "3.9.0"
                                  << "rm 3.9.0/d/b" << QByteArray("d/b: ");
    QTest::newRow("file changed") << "3.9.0"
                                  << "printf moru > 3.9.0/d/b"
                                  << QByteArray("d/b: its MD5 text is ");
    QTest::newRow("file longer") << "3.9.0"
                                 << "printf x >> 3.9.0/d/b"
                                 << QByteArray("d/b: it has 5 bytes instead of 4.");
    QTest::newRow("renamed") << "old"
                             << "mv 3.9.0 old"
                             << QByteArray("old/update_md5.info: it is the manifest of \"3.9.0\".");
    QTest::newRow("old form") << "3.9.0"
                              << "sed -i /^@/d 3.9.0/update_md5.info"
                              << QByteArray("it does not say which version it is");
    QTest::newRow("manifest cut") << "3.9.0"
                                  << "truncate -s -1 3.9.0/update_md5.info"
                                  << QByteArray("3.9.0/update_md5.info: line ");
}

void tst_PublishList::announce_unfit_isRefused()
{
    QFETCH(QString, folder);
    QFETCH(QString, command);
    QFETCH(QByteArray, message);
    QCOMPARE(QProcess::execute("sh", {"-c", "cd \"$0\" && " + command, m_output}), 0);
    const QMap<QString, QByteArray> before = FilesBelow(m_output);
    const ToolRun run = RunPublish({"--announce", folder, m_output});
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.contains(message), run.errors.constData());
    QCOMPARE(run.output, QByteArray());
    QCOMPARE(FilesBelow(m_output), before);
}

void tst_PublishList::announce_withAnExtraFile_isWarnedOf()
{
    WriteFile(m_output + "/3.9.0/index.html", "");
    const ToolRun strict = run({"--announce", "3.9.0", "--strict", m_output});
    QCOMPARE(strict.exitCode, 1);
    QCOMPARE(announced(), QString("3.11.0"));
    const ToolRun other = run({"--announce", "3.9.0", m_output});
    QCOMPARE(other.exitCode, 0);
    QCOMPARE(other.errors,
             QByteArray("publish_update: warning: index.html: it is not in the manifest.\n"));
    QCOMPARE(announced(), QString("3.9.0"));
}

void tst_PublishList::prune_keepsTheNewestAndTheAnnounced_data()
{
    QTest::addColumn<QString>("announced");
    QTest::addColumn<QString>("keep");
    QTest::addColumn<QStringList>("kept");
    QTest::newRow("all") << "3.11.0"
                         << "3" << QStringList({"3.10.0", "3.11.0", "3.9.0"});
    QTest::newRow("more than there are") << "3.11.0"
                                         << "99" << QStringList({"3.10.0", "3.11.0", "3.9.0"});
    QTest::newRow("two") << "3.11.0"
                         << "2" << QStringList({"3.10.0", "3.11.0"});
    QTest::newRow("one") << "3.11.0"
                         << "1" << QStringList({"3.11.0"});
    QTest::newRow("none but the announced") << "3.11.0"
                                            << "0" << QStringList({"3.11.0"});
    QTest::newRow("the oldest is announced") << "3.9.0"
                                             << "1" << QStringList({"3.11.0", "3.9.0"});
    QTest::newRow("only the announced") << "3.10.0"
                                        << "0" << QStringList({"3.10.0"});
}

void tst_PublishList::prune_keepsTheNewestAndTheAnnounced()
{
    QFETCH(QString, announced);
    QFETCH(QString, keep);
    QFETCH(QStringList, kept);
    QCOMPARE(run({"--announce", announced, m_output}).exitCode, 0);
    const QByteArray description = ReadFile(m_output + "/update.json");
    const ToolRun prune = run({"--prune", keep, m_output});
    QCOMPARE(prune.errors, QByteArray());
    QCOMPARE(prune.exitCode, 0);
    QCOMPARE(folders(), kept);
    QCOMPARE(prune.output.count("Removed \""), 3 - kept.size());
    QCOMPARE(prune.output.contains("Nothing to remove."), kept.size() == 3);
    QCOMPARE(ReadFile(m_output + "/update.json"), description);
}

void tst_PublishList::prune_unknownThings_areLeftAlone()
{
    WriteFile(m_output + "/winter/update_md5.info", "98500190b04fd23c7d3f96d6727fe128\t3\tx\n");
    WriteFile(m_output + "/3.9.0/update_md5.info", "broken");
    WriteFile(m_output + "/notes/readme", "");
    QVERIFY(QFile::link("3.10.0", m_output + "/latest"));
    const ToolRun prune = run({"--prune", "0", m_output});
    QCOMPARE(prune.exitCode, 0);
    QVERIFY2(prune.errors.contains(R"("winter" is left alone: its version is unknown.)") &&
                 prune.errors.contains(R"("3.9.0" is left alone: )"),
             prune.errors.constData());
    QCOMPARE(folders(), QStringList({"3.11.0", "3.9.0", "notes", "winter"}));
    QVERIFY(QFileInfo(m_output + "/latest").isSymLink());
}

void tst_PublishList::prune_unclearAnnouncement_removesNothing()
{
    WriteFile(m_output + "/update.json", "{}");
    const ToolRun prune = run({"--prune", "0", m_output});
    QCOMPARE(prune.exitCode, 1);
    QVERIFY2(prune.errors.contains("which release is announced is unknown"),
             prune.errors.constData());
    QCOMPARE(folders(), QStringList({"3.10.0", "3.11.0", "3.9.0"}));
}

void tst_PublishList::prune_announcedInAnotherSpelling_isLeftAlone_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("announced");
    QTest::newRow("letter case") << "Winter"
                                 << "wINTER";
    QTest::newRow("normalisation")
        << QString::fromUtf8("\xC3\xA9t\xC3\xA9") << QString::fromUtf8("e\xCC\x81te\xCC\x81");
    QTest::newRow("both") << QString::fromUtf8("\xC3\xA9t\xC3\xA9")
                          << QString::fromUtf8("E\xCC\x81TE\xCC\x81");
}

void tst_PublishList::prune_announcedInAnotherSpelling_isLeftAlone()
{
    QFETCH(QString, folder);
    QFETCH(QString, announced);
    QVERIFY(QDir().rename(m_output + "/3.9.0", m_output + "/" + folder));
    WriteFile(
        m_output + "/update.json",
        ReadFile(m_output + "/update.json").replace("\"3.11.0\"", '"' + announced.toUtf8() + '"'));
    const ToolRun list = run({"--list", m_output});
    QCOMPARE(list.exitCode, 1);
    QCOMPARE(QString::fromUtf8(list.errors),
             QStringLiteral("publish_update: update.json: it announces \"%1\", and the folder is "
                            "\"%2\".\n")
                 .arg(announced, folder));

    const ToolRun prune = run({"--prune", "1", m_output});
    QCOMPARE(prune.exitCode, 0);
    QCOMPARE(QString::fromUtf8(prune.errors),
             QStringLiteral("publish_update: warning: \"%1\" is left alone: update.json announces "
                            "\"%2\".\n")
                 .arg(folder, announced));
    QCOMPARE(folders(), QStringList({"3.11.0", folder}));
}

void tst_PublishList::prune_killed_isFinishedByTheNextRun()
{
    // What such a run leaves: a release that is hidden and not removed yet.
    QVERIFY(QDir().mkdir(m_output + "/.publish_update"));
    QVERIFY(QDir().rename(m_output + "/3.9.0", m_output + "/.publish_update/hidden-0"));
    QCOMPARE(run({"--prune", "2", m_output}).exitCode, 0);
    QCOMPARE(folders(), QStringList({"3.10.0", "3.11.0"}));
}

void tst_PublishList::output_inUse_isRefused()
{
    const QMap<QString, QByteArray> before = FilesBelow(m_output);
    const int other = ::open(qPrintable(m_output), O_RDONLY);
    QCOMPARE(::flock(other, LOCK_EX | LOCK_NB), 0);
    for (const QStringList &arguments :
         {QStringList{"--prune", "0"}, QStringList{"--announce", "3.9.0"}}) {
        const ToolRun refused = run(arguments + QStringList(m_output));
        QCOMPARE(refused.exitCode, 1);
        QVERIFY(refused.errors.contains("Another publish_update is running"));
    }
    QCOMPARE(run({"--list", m_output}).exitCode, 0); // only reads
    QCOMPARE(::close(other), 0);
    QCOMPARE(FilesBelow(m_output), before);
}

void tst_PublishList::result_cannotBeWritten_isAFailure_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("--list") << QStringList{"--list", "OUTPUT"};
    QTest::newRow("--verify") << QStringList{"--verify", "OUTPUT"};
    QTest::newRow("--announce") << QStringList{"--announce", "3.9.0", "OUTPUT"};
    QTest::newRow("--prune") << QStringList{"--prune", "1", "OUTPUT"};
    QTest::newRow("--help") << QStringList{"--help"};
    QTest::newRow("--version") << QStringList{"--version"};
}

void tst_PublishList::result_cannotBeWritten_isAFailure()
{
    QFETCH(QStringList, arguments);
    arguments.replaceInStrings("OUTPUT", m_output);
    const ToolRun full = RunPublish(arguments, {"sh", "-c", R"(exec "$0" "$@" > /dev/full)"});
    QCOMPARE(full.exitCode, 1);
    QCOMPARE(full.errors, QByteArray("publish_update: Standard output cannot be written.\n"));
}

QTEST_GUILESS_MAIN(tst_PublishList)
#include "tst_publishlist.moc"
