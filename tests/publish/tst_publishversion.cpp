// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/publish/PublishTool.h"
#include "tests/support/SampleBundle.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

/// Which versions publish_update accepts, and what it says about a release before publishing it.
class tst_PublishVersion : public QObject {
    Q_OBJECT

private slots:
    void init();
    void version_ofTheBundle_isCompared_data();
    void version_ofTheBundle_isCompared();
    void version_notAboveTheAnnounced_isRefused_data();
    void version_notAboveTheAnnounced_isRefused();
    void minVersion_zero_forcesNobody();
    void identifier_isThatOfTheBundle_data();
    void identifier_isThatOfTheBundle();
    void strict_warning_isAFailure();
    void dryRun_first_listsEverything();
    void dryRun_next_saysWhatChanged();
    void dryRun_againstAnOldRelease_comparesItsFiles();
    void dryRun_unfit_isRefused_data();
    void dryRun_unfit_isRefused();
    void json_saysWhatWasPublished();
    void json_saysWhatIsWrong();
    void json_noRoom_isAFailure();

private:
    QStringList arguments(const QString &version, const QStringList &options = {}) const;
    ToolRun dryRun(const QString &version, const QStringList &options = {}) const;

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_release;
    QString m_output;
};

void tst_PublishVersion::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_release = m_folder->filePath("Sample.app");
    m_output = m_folder->filePath("output");
    SampleBundle bundle;
    bundle.resources = 20;
    bundle.make(m_release);
}

QStringList tst_PublishVersion::arguments(const QString &version, const QStringList &options) const
{
    QStringList all = PublishArguments(m_release, m_output);
    all.replace(1, version);
    return options + all;
}

/// A dry run, which must not write anything.
ToolRun tst_PublishVersion::dryRun(const QString &version, const QStringList &options) const
{
    const QMap<QString, QByteArray> before = FilesBelow(m_folder->path());
    const ToolRun run = RunPublish(arguments(version, QStringList("--dry-run") + options));
    return FilesBelow(m_folder->path()) == before ? run : ToolRun();
}

void tst_PublishVersion::version_ofTheBundle_isCompared_data()
{
    QTest::addColumn<QString>("listed"); // in the property list; empty: the key is missing
    QTest::addColumn<QString>("version");
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("the same") << "3.10.25"
                              << "3.10.25" << QByteArray();
    QTest::newRow("the same number") << "3.10.25.7"
                                     << "3.10.25" << QByteArray();
    QTest::newRow("lower") << "3.10.24"
                           << "3.10.25"
                           << QByteArray("Version 3.10.25 (3100025) does not match the release, "
                                         "whose Contents/Info.plist says 3.10.24 (3100024): users "
                                         "would be told of the same update forever, or never. "
                                         "--force publishes it anyway.");
    QTest::newRow("higher") << "3.10.26"
                            << "3.10.25" << QByteArray("says 3.10.26 (3100026)");
    QTest::newRow("two parts") << "3.10"
                               << "3.10.0" << QByteArray("says 3.10 (3000000)");
    QTest::newRow("none") << ""
                          << "3.10.25" << QByteArray("whose Contents/Info.plist has none");
}

void tst_PublishVersion::version_ofTheBundle_isCompared()
{
    QFETCH(QString, listed);
    QFETCH(QString, version);
    QFETCH(QByteArray, message);
    QByteArray list = ReadFile(m_release + "/Contents/Info.plist");
    list.replace("3.10.25", listed.toUtf8());
    WriteFile(m_release + "/Contents/Info.plist",
              listed.isEmpty() ? list.replace("ShortVersionString", "Other") : list);
    if (!message.isEmpty()) {
        const ToolRun refused = RunPublish(arguments(version));
        QCOMPARE(refused.exitCode, 1);
        QVERIFY2(refused.errors.contains(message), refused.errors.constData());
        QVERIFY(!QFileInfo::exists(m_output));
    }
    const ToolRun run =
        RunPublish(arguments(version, message.isEmpty() ? QStringList() : QStringList("--force")));
    QVERIFY2(run.exitCode == 0, run.errors.constData());
}

void tst_PublishVersion::version_notAboveTheAnnounced_isRefused_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("isRefused");
    QTest::newRow("above") << "3.10.25" << false;
    QTest::newRow("the same") << "3.10.24" << true;
    QTest::newRow("below") << "3.9.99" << true;
}

void tst_PublishVersion::version_notAboveTheAnnounced_isRefused()
{
    QFETCH(QString, version);
    QFETCH(bool, isRefused);
    QVERIFY(QFile::remove(m_release + "/Contents/Info.plist"));
    QCOMPARE(RunPublish(arguments("3.10.24")).exitCode, 0);
    const QMap<QString, QByteArray> before = FilesBelow(m_output);
    const QStringList next = arguments(version, {"--folder", "next"});
    const ToolRun run = RunPublish(next);
    QCOMPARE(run.exitCode, isRefused ? 1 : 0);
    if (isRefused) {
        QVERIFY2(run.errors.contains(" is not above the announced one, 3.10.24 (3100024): users "
                                     "who have that one would not be told of it. --force "
                                     "publishes it anyway."),
                 run.errors.constData());
        QCOMPARE(FilesBelow(m_output), before);
        QCOMPARE(RunPublish(next + QStringList("--force")).exitCode, 0);
    }
    QVERIFY(ReadFile(m_output + "/update.json").contains(R"("Folder": "next")"));
}

void tst_PublishVersion::minVersion_zero_forcesNobody()
{
    QStringList zero = arguments("3.10.25");
    zero.replace(3, "0");
    const ToolRun run = RunPublish(zero);
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QVERIFY(ReadFile(m_output + "/update.json").contains(R"("MinVersion": 0,)"));
    QVERIFY(ReadFile(m_output + "/3.10.25/update_md5.info").contains("\n@minimum\t0\n"));
}

void tst_PublishVersion::identifier_isThatOfTheBundle_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<bool>("isBundle");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("of the bundle")
        << QStringList() << true << QByteArray("\n@application\tcom.example.sample\n@minimum");
    QTest::newRow("given") << QStringList{"--application", "a.b.c"} << true
                           << QByteArray("\n@application\ta.b.c\n@minimum");
    QTest::newRow("none") << QStringList() << false << QByteArray("\t3.10.25\n@minimum");
}

void tst_PublishVersion::identifier_isThatOfTheBundle()
{
    QFETCH(QStringList, options);
    QFETCH(bool, isBundle);
    QFETCH(QByteArray, line);
    QVERIFY(isBundle || QFile::remove(m_release + "/Contents/Info.plist"));
    QCOMPARE(RunPublish(arguments("3.10.25", options)).exitCode, 0);
    const QByteArray manifest = ReadFile(m_output + "/3.10.25/update_md5.info");
    QVERIFY2(manifest.contains(line), manifest.left(200).constData());
}

void tst_PublishVersion::strict_warning_isAFailure()
{
    QStringList forced = arguments("3.10.25", {"--strict"});
    forced.replace(4, "3.10.26"); // the minimum
    const ToolRun run = RunPublish(forced);
    QCOMPARE(run.exitCode, 1);
    QVERIFY(run.errors.contains("warning: the minimum version is above"));
    QVERIFY(run.errors.endsWith("publish_update: Warnings are failures with --strict.\n"));
    QVERIFY(!QFileInfo::exists(m_output));
    QCOMPARE(RunPublish(arguments("3.10.25", {"--strict"})).exitCode, 0);
}

void tst_PublishVersion::dryRun_first_listsEverything()
{
    const ToolRun run = dryRun("3.10.25");
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.output.contains("added     Contents/MacOS/Sample\n"), run.output.constData());
    QVERIFY(run.output.contains("added     Contents/Frameworks/Core.framework/Core\n")); // a link
    QVERIFY(run.output.contains("No release is there yet: users fetch all "));
    QVERIFY(run.output.contains("Would publish version 3.10.25 (3100025): "));
}

void tst_PublishVersion::dryRun_next_saysWhatChanged()
{
    QCOMPARE(RunPublish(arguments("3.10.25")).exitCode, 0);
    QVERIFY(QFile::remove(m_release + "/Contents/Info.plist"));
    WriteFile(m_release + "/Contents/MacOS/Sample", "of another size");
    WriteFile(m_release + "/Contents/new", "five5");
    QVERIFY(QFile::setPermissions(m_release + "/Contents/PkgInfo", QFile::Permissions(0x7755)));
    QVERIFY(QFile::remove(m_release + "/Contents/Frameworks/Core.framework/Core"));
    QVERIFY(QFile::link("Versions/A/Core", m_release + "/Contents/Frameworks/Core.framework/Core"));
    QVERIFY(QDir(m_release).rmdir("Contents/SharedSupport/Updates"));
    const ToolRun run = dryRun("3.10.26");
    QCOMPARE(run.exitCode, 0);
    for (const char *line :
         {"added     Contents/new\n", "changed   Contents/MacOS/Sample\n",
          "changed   Contents/PkgInfo\n", "changed   Contents/Frameworks/Core.framework/Core\n",
          "removed   Contents/Info.plist\n", "removed   Contents/SharedSupport/Updates\n",
          "added     Contents/SharedSupport\n", "unchanged Contents/MacOS/updater\n",
          "2 added, 3 changed, 2 removed, ",
          "A user with version 3.10.25 (\"3.10.25\") fetches 20 bytes.\n"}) {
        QVERIFY2(run.output.contains(line), (line + run.output).constData());
    }
    const ToolRun json = dryRun("3.10.26", {"--json"});
    const QJsonObject object = QJsonDocument::fromJson(json.output).object();
    QCOMPARE(object.value("comparedWith").toString(), QString("3.10.25"));
    QCOMPARE(object.value("added"),
             QJsonValue(QJsonArray{"Contents/SharedSupport", "Contents/new"}));
    QCOMPARE(object.value("removed").toArray().size(), 2);
    QCOMPARE(object.value("bytesToFetch").toInt(), 20);
    QCOMPARE(object.value("published").toBool(), false);
}

void tst_PublishVersion::dryRun_againstAnOldRelease_comparesItsFiles()
{
    QCOMPARE(RunPublish(arguments("3.10.25")).exitCode, 0);
    const QString manifest = m_output + "/3.10.25/update_md5.info";
    QCOMPARE(QProcess::execute("sed", {"-i", "/^@/d", manifest}), 0); // as it was written before
    QVERIFY(QFile::remove(m_release + "/Contents/Info.plist"));
    WriteFile(m_release + "/Contents/new", "five5");
    const ToolRun run = dryRun("3.10.26");
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.output.contains(" 0 changed, 1 removed, ") &&
                 run.output.contains("fetches 5 bytes"),
             run.output.constData());
}

void tst_PublishVersion::dryRun_unfit_isRefused_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("message");
    QTest::newRow("not above") << QStringList{"--folder", "other"}
                               << QByteArray("is not above the announced one");
    QTest::newRow("the same folder") << QStringList{"--force"} << QByteArray("exists already");
}

void tst_PublishVersion::dryRun_unfit_isRefused()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, message);
    QCOMPARE(RunPublish(arguments("3.10.25")).exitCode, 0);
    const ToolRun run = dryRun("3.10.25", options);
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.errors.contains(message), run.errors.constData());
}

void tst_PublishVersion::json_saysWhatWasPublished()
{
    const ToolRun run = RunPublish(arguments("3.10.25", {"--json"}));
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.errors, QByteArray());
    SampleBundle bundle;
    bundle.resources = 20;
    QJsonObject object = QJsonDocument::fromJson(run.output).object();
    QVERIFY(object.take("bytes").toInt() > 1000);
    QCOMPARE(object, QJsonObject({{"success", true},
                                  {"published", true},
                                  {"version", 3100025},
                                  {"versionString", "3.10.25"},
                                  {"folder", "3.10.25"},
                                  {"application", "com.example.sample"},
                                  {"files", bundle.fileCount()},
                                  {"links", SampleBundle::linkCount()},
                                  {"signed", false},
                                  {"warnings", QJsonArray()},
                                  {"problems", QJsonArray()}}));
}

void tst_PublishVersion::json_saysWhatIsWrong()
{
    WriteFile(m_release + "/a#b", "");
    const ToolRun run = RunPublish(arguments("3.10.26", {"--json"}));
    QCOMPARE(run.exitCode, 1);
    const QJsonObject object = QJsonDocument::fromJson(run.output).object();
    QCOMPARE(object.value("success").toBool(true), false);
    QCOMPARE(object.value("problems").toArray().size(), 2);
    QVERIFY(object.value("problems").toArray().at(0).toString().contains("a#b"));
    QVERIFY(run.errors.contains("a#b"));
}

void tst_PublishVersion::json_noRoom_isAFailure()
{
    const ToolRun run =
        RunPublish(arguments("3.10.25", {"--json"}), {"sh", "-c", R"(exec "$0" "$@" > /dev/full)"});
    QCOMPARE(run.exitCode, 1);
    QVERIFY(run.errors.contains("The JSON object cannot be written."));
}

QTEST_GUILESS_MAIN(tst_PublishVersion)
#include "tst_publishversion.moc"
