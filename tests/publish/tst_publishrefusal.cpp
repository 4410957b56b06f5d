// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ReleaseScan.h"
#include "release/Formats.h"
#include "tests/publish/PublishTool.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

/// What publish_update refuses, with a clear message, exit code 1 and nothing changed.
class tst_PublishRefusal : public QObject {
    Q_OBJECT

private slots:
    void init();
    void options_unfit_areRefused_data();
    void options_unfit_areRefused();
    void options_lossyVersion_isPublishedByForce_data();
    void options_lossyVersion_isPublishedByForce();
    void release_unsafeFile_isRefused_data();
    void release_unsafeFile_isRefused();
    void release_namesEqualButForNormalisation_areRefused();
    void release_severalUnsafeFiles_areAllNamed();
    void release_fileOf2GiB_isRefused();
    void release_largestFile_isAccepted();
    void release_specialFile_isRefused();
    void release_notThere_isRefused();
    void release_withoutFiles_isRefused();
    void release_unreadable_isRefused();
    void output_insideTheRelease_isRefused_data();
    void output_insideTheRelease_isRefused();
    void release_wholeDisk_isRefused();
    void release_inTheWorkspace_isRefused();
    void output_folderPublishedBefore_isRefused();

private:
    QStringList refusal(const QStringList &arguments, const QStringList &wrapper = {});

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_release;
    QString m_output;
};

void tst_PublishRefusal::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_release = m_folder->filePath("release");
    m_output = m_folder->filePath("output");
    WriteFile(m_release + "/Host", "host");
    WriteFile(m_output + "/update.json", "as before");
}

/// Runs the program, checks that it refused and changed nothing, and returns its messages.
QStringList tst_PublishRefusal::refusal(const QStringList &arguments, const QStringList &wrapper)
{
    const QMap<QString, QByteArray> before = FilesBelow(m_output);
    const ToolRun run = RunPublish(arguments, wrapper);
    if (run.exitCode != 1 || !run.output.isEmpty() || FilesBelow(m_output) != before) {
        return {QStringLiteral("Not refused: ") + QString::fromUtf8(run.output + run.errors)};
    }
    QStringList messages;
    QStringList lines = QString::fromUtf8(run.errors).split(QLatin1Char('\n'));
    lines.removeAll({});
    for (const QString &line : qAsConst(lines)) {
        messages.append(QString(line).remove(QStringLiteral("publish_update: ")));
    }
    return messages;
}

void tst_PublishRefusal::options_unfit_areRefused_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("message");
    const QString force(" --force publishes it anyway.");
    const auto version = [](const char *row, int index, const QString &value,
                            const QString &message) {
        QTest::newRow(row) << index << value << message;
    };
    version("one part", 1, "3",
            "Version 3 counts as 0: a version of one part counts as 0." + force);
    version("two parts", 1, "3.10",
            "Version 3.10 counts as 3000000: the second part of a version of two parts does not "
            "count." +
                force);
    version("fourth part", 1, "3.10.25.1",
            "Version 3.10.25.1 counts as 3100025: what follows the third part does not count." +
                force);
    version("minor over 99", 1, "3.100.0",
            "Version 3.100.0 counts as 4000000: a second part over 99 spills into the first." +
                force);
    version("patch over 9999", 1, "3.0.10000",
            "Version 3.0.10000 counts as 3010000: a third part over 9999 spills into the second." +
                force);
    version("minimum version of two parts", 3, "3.0",
            "Version 3.0 counts as 3000000: the second part of a version of two parts does not "
            "count." +
                force);
    version("letters", 1, "3.x.1",
            R"("3.x.1" is not a version: it is not made of numbers separated by dots.)");
    const QString address(R"(The download address "%1" is not an https address.)");
    for (const QString &url :
         QStringList{"http://www.example.com/", "www.example.com", "https:///path",
                     "ftp://www.example.com/", "https://a b.example/"}) {
        QTest::newRow(qPrintable("address " + url)) << 5 << url << address.arg(url);
    }
}

void tst_PublishRefusal::options_unfit_areRefused()
{
    QFETCH(int, index);
    QFETCH(QString, value);
    QFETCH(QString, message);
    QStringList arguments = PublishArguments(m_release, m_output);
    arguments.replace(index, value);
    QCOMPARE(refusal(arguments), QStringList(message));
}

void tst_PublishRefusal::options_lossyVersion_isPublishedByForce_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<QByteArray>("number");
    QTest::newRow("one part") << "3" << QByteArray("0");
    QTest::newRow("two parts") << "3.10" << QByteArray("3000000");
    QTest::newRow("fourth part") << "3.10.25.1" << QByteArray("3100025");
    QTest::newRow("minor over 99") << "3.100.0" << QByteArray("4000000");
    QTest::newRow("patch over 9999") << "3.0.10000" << QByteArray("3010000");
}

void tst_PublishRefusal::options_lossyVersion_isPublishedByForce()
{
    QFETCH(QString, version);
    QFETCH(QByteArray, number);
    QStringList arguments = PublishArguments(m_release, m_output) + QStringList("--force");
    arguments.replace(1, version);
    QCOMPARE(RunPublish(arguments).exitCode, 0);
    QVERIFY(FilesBelow(m_output).value("update.json").contains(R"("Version": )" + number + ","));
}

void tst_PublishRefusal::release_unsafeFile_isRefused_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("message");
    const QString unsafe(R"("%1" cannot be published: %2.)");
    const QString whole("The release cannot be published: %1.");
    const QString replaced(QChar::ReplacementCharacter);
    const QString address("it contains '%1', which has a special meaning in a web address");
    const auto add = [&unsafe](const char *row, const QByteArray &name, const QString &shown,
                               const QString &reason) {
        QTest::newRow(row) << name << unsafe.arg(shown, reason);
    };
    add("TAB", "a\tb", "a" + replaced + "b",
        "it contains a TAB, which separates the manifest's fields");
    add("LF", "a\nb", "a" + replaced + "b",
        "it contains a line feed, which ends the manifest's lines");
    add("CR", "a\rb", "a" + replaced + "b",
        "it contains a carriage return, which ends the manifest's lines");
    QTest::newRow("escape, which no message may hold")
        << QByteArray("Host\x1B[31m.old#")
        << unsafe.arg("Host" + replaced + "[31m.old#", address.arg('#'));
    add("backslash", "a\\b", "a\\b",
        "it contains a backslash, which the manifest takes for a separator");
    add("number sign", "a#b", "a#b", address.arg('#'));
    add("question mark", "a?b", "a?b", address.arg('?'));
    add("percent", "d/a%b", "d/a%b", address.arg('%'));
    add("not UTF-8", "a\xFF", "a" + replaced, "it does not survive UTF-8 unchanged");
    add("252 bytes", QByteArray(252, 'n'), QString(252, 'n'),
        "it has a name over 251 bytes in its decomposed form");
    const QString accented(84, QChar(0xE9)); // two bytes each, three when decomposed
    add("168 bytes that are 252 when decomposed", accented.toUtf8(), accented,
        "it has a name over 251 bytes in its decomposed form");
    QTest::newRow("old name beside")
        << QByteArray("Host.old")
        << whole.arg(R"("Host.old" takes the name reserved for the old "Host")");
    QTest::newRow("manifest") << QByteArray("update_md5.info")
                              << whole.arg(R"("update_md5.info" takes the manifest's own name)");
    QTest::newRow("letter case")
        << QByteArray("host")
        << whole.arg(R"("Host" and "host" differ only in letter case or Unicode normalisation)");
}

void tst_PublishRefusal::release_unsafeFile_isRefused()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, message);
    QVERIFY(QDir(m_release).mkpath("d"));
    const QByteArray path = m_release.toUtf8() + '/' + name; // any bytes, which Qt cannot handle
    FILE *file = std::fopen(path.constData(), "w");
    QVERIFY(file);
    QCOMPARE(std::fclose(file), 0);
    const QStringList messages = refusal(PublishArguments(m_release, m_output));
    QCOMPARE(std::remove(path.constData()), 0);
    QCOMPARE(messages, QStringList(message));
}

void tst_PublishRefusal::release_namesEqualButForNormalisation_areRefused()
{
    const QString composed(QStringLiteral("caf\u00E9"));
    const QString decomposed(QStringLiteral("cafe\u0301"));
    WriteFile(m_release + "/" + composed, "");
    WriteFile(m_release + "/" + decomposed, "");
    QCOMPARE(refusal(PublishArguments(m_release, m_output)),
             QStringList("The release cannot be published: " + Quoted(decomposed) + " and " +
                         Quoted(composed) +
                         " differ only in letter case or Unicode normalisation."));
}

void tst_PublishRefusal::release_severalUnsafeFiles_areAllNamed()
{
    WriteFile(m_release + "/b#", "");
    WriteFile(m_release + "/a?", "");
    const QStringList messages = refusal(PublishArguments(m_release, m_output));
    QCOMPARE(messages.size(), 2);
    QVERIFY(messages.at(0).contains("a?"));
    QVERIFY(messages.at(1).contains("b#"));
}

void tst_PublishRefusal::release_fileOf2GiB_isRefused()
{
    QFile file(m_release + "/big");
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(qint64{1} << 31)); // a sparse file
    QCOMPARE(
        refusal(PublishArguments(m_release, m_output)),
        QStringList(R"("big" cannot be published: files of almost 2 GiB (2,147,483,584 bytes) and )"
                    "more cannot be updated."));
}

void tst_PublishRefusal::release_largestFile_isAccepted()
{
    QFile file(m_release + "/big");
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(TooLargeSize - 1));
    QCOMPARE(ScanRelease(m_release).problems, QStringList());
    QVERIFY(file.resize(TooLargeSize));
    QCOMPARE(ScanRelease(m_release).problems.size(), 1);
}

void tst_PublishRefusal::release_specialFile_isRefused()
{
    QCOMPARE(::mkfifo((m_release + "/pipe").toUtf8().constData(), 0600), 0);
    QCOMPARE(refusal(PublishArguments(m_release, m_output)),
             QStringList(R"("pipe" cannot be published: it is not a regular file.)"));
}

void tst_PublishRefusal::release_notThere_isRefused()
{
    const QString missing = m_folder->filePath("missing");
    QCOMPARE(refusal(PublishArguments(missing, m_output)),
             QStringList(Quoted(missing) + " is not a folder."));
    const QString file = m_release + "/Host";
    QCOMPARE(refusal(PublishArguments(file, m_output)),
             QStringList(Quoted(file) + " is not a folder."));
    const ToolRun run = RunPublish(PublishArguments(m_release, file));
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(QString::fromUtf8(run.errors),
             "publish_update: " + Quoted(file) + " is not a folder.\n");
}

void tst_PublishRefusal::release_withoutFiles_isRefused()
{
    QVERIFY(QFile::remove(m_release + "/Host"));
    QVERIFY(QDir(m_release).mkpath("empty"));
    QCOMPARE(refusal(PublishArguments(m_release, m_output)),
             QStringList("The release holds no files."));
}

void tst_PublishRefusal::release_unreadable_isRefused()
{
    const QStringList wrapper = WithoutRootsRights();
    const QStringList arguments = PublishArguments(m_release, m_output);
    QVERIFY(QFile::setPermissions(m_release + "/Host", {}));
    QCOMPARE(refusal(arguments, wrapper),
             QStringList(R"("Host" cannot be published: its mode 0000 does not let its owner read )"
                         "it."));
    QVERIFY(QFile::setPermissions(m_release + "/Host", QFile::Permissions(0x6644)));

    WriteFile(m_release + "/closed/a", "");
    QVERIFY(QFile::setPermissions(m_release + "/closed", {}));
    const QStringList messages = refusal(arguments, wrapper);
    QVERIFY(QFile::setPermissions(m_release + "/closed",
                                  QFile::ExeOwner | QFile::WriteOwner | QFile::ReadOwner));
    QVERIFY(QFile::setPermissions(m_release + "/closed", QFile::ReadOwner)); // names only
    const QStringList named = refusal(arguments, wrapper);
    QVERIFY(QFile::setPermissions(m_release + "/closed",
                                  QFile::ExeOwner | QFile::WriteOwner | QFile::ReadOwner));
    const QString mode(
        R"("closed" cannot be published: its mode %1 does not let its owner read it.)");
    QCOMPARE(named,
             QStringList({mode.arg("0400"), R"("closed/a" cannot be read: Permission denied.)"}));
    QCOMPARE(messages.size(), 2);
    QCOMPARE(messages.constFirst(), mode.arg("0000"));
    QVERIFY2(messages.constLast().startsWith("The release cannot be read at ") &&
                 messages.constLast().contains("/closed"),
             qPrintable(messages.constLast()));
}

void tst_PublishRefusal::output_insideTheRelease_isRefused_data()
{
    QTest::addColumn<QString>("output");
    QTest::newRow("the release itself") << "release";
    QTest::newRow("below it") << "release/output";
    QTest::newRow("by another name") << "output/../release/./deep/er";
    QTest::newRow("through a link") << "link/output";
}

void tst_PublishRefusal::output_insideTheRelease_isRefused()
{
    QFETCH(QString, output);
    QVERIFY(QFile::link(m_release, m_folder->filePath("link")));
    const QMap<QString, QByteArray> before = FilesBelow(m_release);
    const QString path = m_folder->filePath(output);
    QCOMPARE(refusal(PublishArguments(m_release, path)),
             QStringList(Quoted(path) + " lies in the release itself."));
    QCOMPARE(FilesBelow(m_release), before);
}

void tst_PublishRefusal::release_wholeDisk_isRefused()
{
    QCOMPARE(refusal(PublishArguments("/", m_output)),
             QStringList(Quoted(m_output) + " lies in the release itself."));
}

void tst_PublishRefusal::release_inTheWorkspace_isRefused()
{
    for (const char *below : {"", "/", "/release", "/../.publish_update/a/b"}) {
        const QString release = m_output + "/.publish_update" + below;
        WriteFile(release + "/Host", "host");
        QCOMPARE(refusal(PublishArguments(release, m_output)),
                 QStringList(Quoted(release) +
                             R"( lies in the folder ".publish_update", which is emptied first.)"));
    }
}

void tst_PublishRefusal::output_folderPublishedBefore_isRefused()
{
    QVERIFY(QDir(m_output).mkpath("3.10.25"));
    const QString message = Quoted(m_output + "/3.10.25") +
                            " exists already; what was published is never changed. Choose "
                            "another folder with --folder.";
    QCOMPARE(refusal(PublishArguments(m_release, m_output)), QStringList(message));
    QVERIFY(QDir(m_output).rmdir("3.10.25"));
    QVERIFY(QFile::link("nowhere", m_output + "/3.10.25"));
    QCOMPARE(refusal(PublishArguments(m_release, m_output)), QStringList(message));

    const QStringList arguments = PublishArguments(m_release, m_output);
    const QString unfit(R"("%1" cannot be the release's folder: %2.)");
    const QString used("the name is reserved");
    QCOMPARE(refusal(arguments + QStringList({"--folder", "a/b"})),
             QStringList(unfit.arg("a/b", "it is a path, not a name")));
    QCOMPARE(refusal(arguments + QStringList({"--folder", ".."})),
             QStringList(unfit.arg("..", R"(it has a ".." component)")));
    QCOMPARE(refusal(arguments + QStringList({"--folder", "Update.json"})),
             QStringList(unfit.arg("Update.json", used)));
    QCOMPARE(refusal(arguments + QStringList({"--folder", ".publish_update"})),
             QStringList(unfit.arg(".publish_update", used)));
}

QTEST_GUILESS_MAIN(tst_PublishRefusal)
#include "tst_publishrefusal.moc"
