// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/PublishedRelease.h"
#include "tests/publish/PublishTool.h"
#include "tests/support/MemoryFolder.h"
#include "tests/support/Nginx.h"
#include "tests/support/SampleBundle.h"
#include "tests/support/SigningKey.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

/// The life of a real application's releases, from the first to a withdrawn one: published, signed,
/// verified from the web and from the folder, listed, pruned. Each test continues from the one
/// before.
class tst_PublishSample : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void first_isPublished();
    void first_isWhatTheBundleIs();
    void first_isVerifiedByTheWeb();
    void first_isVerifiedByTheFolder();
    void first_damaged_isNotVerified();
    void second_dryRun_saysWhatIsFetched();
    void second_isPublished();
    void releases_areListed();
    void second_isWithdrawn();
    void second_isAnnouncedAgain();
    void third_isPublished_andTheFirstIsPruned();

private:
    QStringList publishing(const QString &version) const;
    QStringList key() const { return {"--public-key", m_key.publicKey()}; }
    QString bundle(const QString &version) const
    {
        return m_folder.filePath(version + QStringLiteral("/Sample.app"));
    }
    QString announced() const;

    const SigningKey m_key;
    QTemporaryDir m_folder{MemoryFolder()};
    Nginx m_server;
};

void tst_PublishSample::initTestCase()
{
    for (const char *version : {"3.10.25", "3.10.26", "3.11.0"}) {
        SampleBundle sample;
        sample.version = version;
        sample.make(bundle(version));
    }
    QVERIFY(QDir().mkdir(m_folder.filePath("www")));
    QVERIFY(QDir().rmdir(m_server.root()));
    QVERIFY(QFile::link(m_folder.filePath("www"), m_server.root()));
    QVERIFY(m_server.start());
}

QStringList tst_PublishSample::publishing(const QString &version) const
{
    QStringList arguments = PublishArguments(bundle(version), m_server.root());
    arguments.replace(1, version);
    return QStringList{"--sign-with", m_key.command(), "--strict"} + key() + arguments;
}

QString tst_PublishSample::announced() const
{
    return QJsonDocument::fromJson(ReadFile(m_server.root() + "/update.json"))
        .object()
        .value("Folder")
        .toString();
}

void tst_PublishSample::first_isPublished()
{
    const ToolRun run = RunPublish(publishing("3.10.25"));
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.output.startsWith("Published version 3.10.25 (3100025): 3021 files, 8 links, "),
             run.output.constData());
    const QString manifest = m_server.root() + "/3.10.25/update_md5.info";
    QVERIFY(m_key.accepts(ReadFile(manifest), ReadFile(manifest + ".minisig")));
}

void tst_PublishSample::first_isWhatTheBundleIs()
{
    ReleaseManifest manifest;
    QCOMPARE(ReadManifest(ReadFile(m_server.root() + "/3.10.25/update_md5.info"), manifest),
             QString());
    QCOMPARE(manifest.application, QString("com.example.sample"));
    QCOMPARE(static_cast<int>(manifest.files.size()), SampleBundle().fileCount());
    QCOMPARE(static_cast<int>(manifest.links.size()), SampleBundle::linkCount());
    QStringList folders;
    for (const ManifestFolder &folder : manifest.folders) {
        folders.append(QStringLiteral("%1 %2").arg(QString::number(folder.mode, 8), folder.path));
    }
    QCOMPARE(folders,
             QStringList({"700 Contents/Resources/private", "755 Contents/SharedSupport/Updates"}));
    QMap<int, int> modes;
    for (const ManifestFile &file : manifest.files) {
        ++modes[file.mode];
        const QString path = bundle("3.10.25") + '/' + file.path;
        QCOMPARE(quint64(QFileInfo(path).size()), file.size);
    }
    QCOMPARE(modes, (QMap<int, int>{{0600, 1}, {0444, 1}, {0755, 7}, {0644, 3012}}));
    for (const ManifestLink &link : manifest.links) {
        QVERIFY(QFileInfo(bundle("3.10.25") + '/' + link.path).isSymLink());
    }
}

void tst_PublishSample::first_isVerifiedByTheWeb()
{
    const ToolRun run = RunPublish(QStringList{"--verify", m_server.url()} + key());
    QCOMPARE(run.errors, QByteArray());
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.output, QByteArray("All right: version 3.10.25 (3100025) in \"3.10.25\", 3021 "
                                    "files, signed.\n"));
    QCOMPARE(m_server.answers().size(), 3021 + 3);
}

void tst_PublishSample::first_isVerifiedByTheFolder()
{
    const ToolRun run =
        RunPublish(QStringList{"--verify", m_server.root(), "--strict", "--json"} + key());
    QCOMPARE(run.exitCode, 0);
    const QJsonObject object = QJsonDocument::fromJson(run.output).object();
    QCOMPARE(object.value("files").toInt(), 3021);
    QCOMPARE(object.value("signed").toBool(), true);
}

void tst_PublishSample::first_damaged_isNotVerified()
{
    const QString path =
        m_server.root() + QStringLiteral("/3.10.25/Contents/Resources/图片/庆祝 🎉.png");
    const QByteArray content = ReadFile(path);
    QVERIFY(!content.isEmpty());
    WriteFile(path, QByteArray(content).replace("text", "TEXT"));
    for (const QString &where : {m_server.url(), m_server.root()}) {
        const ToolRun run = RunPublish(QStringList{"--verify", where} + key());
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(
            run.errors.startsWith(QStringLiteral("publish_update: Contents/Resources/图片/庆祝 "
                                                 "🎉.png: its MD5 text is ")
                                      .toUtf8()),
            run.errors.constData());
        QCOMPARE(run.errors.count('\n'), 1);
    }
    WriteFile(path, content);
}

void tst_PublishSample::second_dryRun_saysWhatIsFetched()
{
    const QStringList all = publishing("3.10.26") + QStringList{"--dry-run", "--json"};
    const QJsonObject object = QJsonDocument::fromJson(RunPublish(all).output).object();
    QCOMPARE(object.value("comparedWith").toString(), QString("3.10.25"));
    QCOMPARE(object.value("added").toArray().size(), 0);
    QCOMPARE(object.value("removed").toArray().size(), 0);
    QCOMPARE(object.value("changed").toArray().size(), 300 + 7 + 4); // see SampleBundle
    qint64 bytes = 0;
    const QJsonArray changed = object.value("changed").toArray();
    for (const QJsonValue &path : changed) {
        bytes += QFileInfo(bundle("3.10.26") + '/' + path.toString()).size();
    }
    QCOMPARE(object.value("bytesToFetch").toDouble(), static_cast<double>(bytes));
    QCOMPARE(announced(), QString("3.10.25"));
    QVERIFY(!QFileInfo::exists(m_server.root() + "/3.10.26"));
}

void tst_PublishSample::second_isPublished()
{
    const ToolRun run = RunPublish(publishing("3.10.26"));
    QVERIFY2(run.exitCode == 0, run.errors.constData());
    QCOMPARE(RunPublish(QStringList{"--verify", m_server.url()} + key()).exitCode, 0);
    QCOMPARE(announced(), QString("3.10.26"));
}

void tst_PublishSample::releases_areListed()
{
    const ToolRun run = RunPublish({"--list", m_server.root()});
    QCOMPARE(run.exitCode, 0);
    const QList<QByteArray> lines = run.output.split('\n');
    QCOMPARE(lines.size(), 4);
    QVERIFY(lines.at(1).startsWith("*  3.10.26  3.10.26  3100026   3021  "));
    QVERIFY(lines.at(2).startsWith("   3.10.25  3.10.25  3100025   3021  "));
    QVERIFY(lines.at(2).endsWith("  yes"));
}

void tst_PublishSample::second_isWithdrawn()
{
    const ToolRun run =
        RunPublish(QStringList{"--announce", "3.10.25"} + key() + QStringList(m_server.root()));
    QVERIFY2(run.exitCode == 0, run.errors.constData());
    QCOMPARE(announced(), QString("3.10.25"));
    QCOMPARE(RunPublish(QStringList{"--verify", m_server.url()} + key()).exitCode, 0);
}

void tst_PublishSample::second_isAnnouncedAgain()
{
    QCOMPARE(RunPublish({"--announce", "3.10.26", m_server.root()}).exitCode, 0);
    QCOMPARE(announced(), QString("3.10.26"));
}

void tst_PublishSample::third_isPublished_andTheFirstIsPruned()
{
    const ToolRun run = RunPublish(publishing("3.11.0"));
    QVERIFY2(run.exitCode == 0, run.errors.constData());
    QCOMPARE(RunPublish({"--prune", "2", m_server.root()}).exitCode, 0);
    QCOMPARE(
        QDir(m_server.root()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList({"3.10.26", "3.11.0", "update.json"}));
    QCOMPARE(RunPublish(QStringList{"--verify", m_server.url()} + key()).exitCode, 0);
}

QTEST_GUILESS_MAIN(tst_PublishSample)
#include "tst_publishsample.moc"
