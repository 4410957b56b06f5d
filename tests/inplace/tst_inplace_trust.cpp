// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/FileNames.h"
#include "inplace/FetchStep.h"
#include "tests/inplace/InplaceStage.h"
#include "tests/inplace/Samples.h"
#include "tests/support/SigningKey.h"

#include <QCryptographicHash>
#include <QtTest>

/// Which releases are trusted, with a key and without one.
class tst_InplaceTrust : public QObject {
    Q_OBJECT

private slots:
    void init();
    void signed_isInstalled();
    void signed_byOneOfSeveralKeys_isInstalled();
    void refused_data();
    void refused();
    void page_isTheSignedOne_data();
    void page_isTheSignedOne();
    void file_ofOtherBytes_endsAtTheVerification();
    void number_lower_isNoUpdate();
    void number_lower_isInstalledWhenAllowed();
    void number_same_otherBytes_isRefused();
    void number_installedOnce_isRemembered();
    void bundle_replacedByAFormerOne_getsNoOlder();
    void application_other_isRefused_data();
    void application_other_isRefused();
    void applyOnly_checksWithItsOwnKeys();
    void manifest_isKeptInStagingWithItsSignature();
    void unsigned_isInstalledWithoutAKey();
    void number_lower_isNoUpdateWithoutAKeyEither_data();
    void number_lower_isNoUpdateWithoutAKeyEither();
    void number_same_ofAnOldManifest();

private:
    FileMap signedFiles(const TestRelease &release, const SigningKey &key) const;
    void publish(const TestRelease &release);
    QString run(const QStringList &more = QStringList());

    const SigningKey m_key;
    const SigningKey m_other;
    TestRelease m_release;
    std::unique_ptr<InplaceStage> m_stage;
};

void tst_InplaceTrust::init()
{
    m_stage = std::make_unique<InplaceStage>();
    m_stage->lay(ManyKinds(1, 20));
    m_release = ManyKinds(2, 20);
    publish(m_release);
}

FileMap tst_InplaceTrust::signedFiles(const TestRelease &release, const SigningKey &key) const
{
    FileMap files = release.published();
    const QString manifest = release.folder() + QLatin1Char('/') + LOCAL_MD5_FILENAME;
    files.insert(manifest + QStringLiteral(".minisig"), key.signature(files.value(manifest)));
    return files;
}

void tst_InplaceTrust::publish(const TestRelease &release)
{
    m_stage->serve(ServeFiles(signedFiles(release, m_key)));
}

QString tst_InplaceTrust::run(const QStringList &more)
{
    return m_stage->run(QStringList{QStringLiteral("--public-key"), m_key.publicKey()} + more);
}

void tst_InplaceTrust::signed_isInstalled()
{
    QCOMPARE(run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(m_release), QString());
    QCOMPARE(run(), QStringLiteral("up-to-date"));
}

void tst_InplaceTrust::signed_byOneOfSeveralKeys_isInstalled()
{
    QCOMPARE(m_stage->run({QStringLiteral("--public-key"), m_other.publicKey(),
                           QStringLiteral("--public-key"), m_key.publicKey()}),
             QStringLiteral("updated"));
}

void tst_InplaceTrust::refused_data()
{
    QTest::addColumn<QString>("what");
    QTest::addColumn<QString>("code");
    QTest::newRow("not signed") << "unsigned"
                                << "signature";
    QTest::newRow("signed by another key") << "other key"
                                           << "signature";
    QTest::newRow("a manifest that was changed") << "manifest"
                                                 << "signature";
    QTest::newRow("a signature that was changed") << "signature"
                                                  << "signature";
    QTest::newRow("update.json of another version") << "version"
                                                    << "description";
    QTest::newRow("an old manifest, signed") << "old"
                                             << "manifest";
}

void tst_InplaceTrust::refused()
{
    QFETCH(QString, what);
    QFETCH(QString, code);
    FileMap files = signedFiles(m_release, m_key);
    const QString manifest = m_release.folder() + QLatin1Char('/') + LOCAL_MD5_FILENAME;
    const QString signature = manifest + QStringLiteral(".minisig");
    if (what == QLatin1String("unsigned")) {
        files.remove(signature);
    } else if (what == QLatin1String("other key")) {
        files = signedFiles(m_release, m_other);
    } else if (what == QLatin1String("manifest")) {
        files[manifest].replace("0644", "0755");
    } else if (what == QLatin1String("signature")) {
        files[signature].replace("timestamp:", "timestamp:1");
    } else if (what == QLatin1String("version")) {
        files[UPDATE_DESCRIBE_FILENAME].replace("1020000", "1030000");
    } else {
        TestRelease old = m_release;
        old.isComplete = false;
        files = signedFiles(old, m_key);
    }
    m_stage->serve(ServeFiles(files));
    const Tree before = ReadNodes(m_stage->parent);
    QCOMPARE(run(), code);
    QCOMPARE(m_stage->program().exitCode(), 1);
    QCOMPARE(Differences(ReadNodes(m_stage->parent), before), QString());
    for (const QString &path : m_stage->requested()) {
        QVERIFY2(!path.contains(QLatin1String("Contents")),
                 qPrintable(path)); // no file was asked for
    }
}

/// An attacker can make a file with the listed MD5; here the list gets the file's MD5 instead.
void tst_InplaceTrust::page_isTheSignedOne_data()
{
    QTest::addColumn<QString>("announced");
    QTest::addColumn<QString>("signer"); // empty: no key is demanded
    QTest::addColumn<bool>("isOld");
    QTest::addColumn<QString>("page");
    const QString other = QStringLiteral("https://other.example/");
    QTest::newRow("signed") << other << "ours" << false << TestRelease().page;
    QTest::newRow("signed by another key") << other << "another" << false << "";
    QTest::newRow("without a key") << other << "" << false << TestRelease().page;
    QTest::newRow("old, without a key") << other << "" << true << other;
    QTest::newRow("old, not https") << "http://other.example/"
                                    << "" << true << "";
    QTest::newRow("old, a file") << "file:///bin/sh"
                                 << "" << true << "";
}

/// The page that a failure offers to open.
void tst_InplaceTrust::page_isTheSignedOne()
{
    QFETCH(QString, announced);
    QFETCH(QString, signer);
    QFETCH(bool, isOld);
    TestRelease release = m_release;
    release.isComplete = !isOld;
    FileMap files = signedFiles(release, signer == QLatin1String("another") ? m_other : m_key);
    release.page = announced;
    files[UPDATE_DESCRIBE_FILENAME] = release.published().value(UPDATE_DESCRIBE_FILENAME);
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        WriteFile(m_stage->temporary.filePath(QStringLiteral("site/") + file.key()), *file);
    }
    UpdateOptions options;
    if (!signer.isEmpty()) {
        options.keys.resize(1);
        QCOMPARE(ReadPublicKey(m_key.publicKey(), options.keys[0]), QString());
    }
    Candidate candidate;
    (void)ReadCandidate(m_stage->temporary.filePath(QStringLiteral("site")), options, {},
                        candidate); // a page that is refused may end it
    QTEST(candidate.page, "page");
}

void tst_InplaceTrust::file_ofOtherBytes_endsAtTheVerification()
{
    const QString path = QStringLiteral("Contents/MacOS/Sample");
    ReleaseManifest manifest = m_release.manifest();
    const QByteArray evil = QByteArray(m_release.tree.value(path).content).replace("echo", "evil");
    for (ManifestFile &file : manifest.files) {
        if (file.path == path) {
            file.md5 = Md5Hash(evil);
        }
    }
    FileMap files = m_release.published();
    const QString at = m_release.folder() + QLatin1Char('/');
    files[at + path] = evil;
    files[at + LOCAL_MD5_FILENAME] = ManifestContent(manifest);
    files[at + LOCAL_MD5_FILENAME + QStringLiteral(".minisig")] =
        m_key.signature(files.value(at + LOCAL_MD5_FILENAME));
    m_stage->serve(ServeFiles(files));
    const Tree before = m_stage->installed();
    QCOMPARE(run(), QStringLiteral("verification"));
    QCOMPARE(Differences(m_stage->installed(), before), QString());
    publish(m_release); // wrong files in the new tree are fetched again
    QCOMPARE(run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(m_release), QString());
}

void tst_InplaceTrust::number_lower_isNoUpdate()
{
    QCOMPARE(run(), QStringLiteral("updated"));
    publish(ManyKinds(1, 20));
    QCOMPARE(run(), QStringLiteral("older"));
    QCOMPARE(m_stage->program().exitCode(), 0);
    QCOMPARE(m_stage->differences(m_release), QString());
}

void tst_InplaceTrust::number_lower_isInstalledWhenAllowed()
{
    QCOMPARE(run(), QStringLiteral("updated"));
    publish(ManyKinds(1, 20));
    QCOMPARE(run({QStringLiteral("--allow-older")}), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(ManyKinds(1, 20)), QString());
}

void tst_InplaceTrust::number_same_otherBytes_isRefused()
{
    QCOMPARE(run(), QStringLiteral("updated"));
    TestRelease fraud = m_release;
    fraud.tree.insert(QStringLiteral("Contents/MacOS/Sample"), File("another", 0755));
    publish(fraud);
    QCOMPARE(run(), QStringLiteral("same-number"));
    QCOMPARE(m_stage->program().exitCode(), 1);
    QCOMPARE(m_stage->differences(m_release), QString());
}

/// The user may replace the installation by an older one: the highest number ever installed counts.
void tst_InplaceTrust::number_installedOnce_isRemembered()
{
    publish(ManyKinds(4, 20));
    QCOMPARE(run(), QStringLiteral("updated"));
    QVERIFY(QDir(m_stage->install).removeRecursively());
    QVERIFY(QFile::remove(m_stage->staging + QStringLiteral("/update_md5.info")));
    m_stage->lay(ManyKinds(1, 20));
    publish(m_release);
    QCOMPARE(run(), QStringLiteral("older"));
    TestRelease fraud = ManyKinds(4, 20);
    fraud.tree.insert(QStringLiteral("Contents/MacOS/Sample"), File("another", 0755));
    publish(fraud);
    QCOMPARE(run(), QStringLiteral("same-number"));
    publish(ManyKinds(4, 20));
    QCOMPARE(run(), QStringLiteral("updated"));
}

/// A former release that the user has dragged over the installed one lets in nothing older than
/// that.
void tst_InplaceTrust::bundle_replacedByAFormerOne_getsNoOlder()
{
    m_release = ManyKinds(3, 20);
    publish(m_release);
    QCOMPARE(run(), QStringLiteral("updated"));
    QVERIFY(QDir(m_stage->install).removeRecursively());
    LayNodes(m_stage->install, ManyKinds(1, 20).tree);
    publish(ManyKinds(2, 20));
    QCOMPARE(run(), QStringLiteral("older"));
    QCOMPARE(m_stage->differences(ManyKinds(1, 20)), QString());
    TestRelease other = m_release;
    other.tree.insert(QStringLiteral("Contents/other"), File("of the same number"));
    publish(other);
    QCOMPARE(run(), QStringLiteral("same-number"));
    publish(m_release);
    QCOMPARE(run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(m_release), QString());
}

void tst_InplaceTrust::application_other_isRefused_data()
{
    QTest::addColumn<QString>("told");
    QTest::addColumn<QStringList>("more");
    QTest::addColumn<QString>("code");
    const QString option = QStringLiteral("--application");
    QTest::newRow("the bundle's") << "com.example.sample" << QStringList() << "updated";
    QTest::newRow("another one's") << "com.example.other" << QStringList() << "application";
    QTest::newRow("none") << "" << QStringList() << "application";
    QTest::newRow("the one asked for")
        << "com.example.other" << QStringList{option, QStringLiteral("com.example.other")}
        << "updated";
    QTest::newRow("not the one asked for")
        << "com.example.sample" << QStringList{option, QStringLiteral("com.example.other")}
        << "application";
}

void tst_InplaceTrust::application_other_isRefused()
{
    QFETCH(QString, told);
    QFETCH(QStringList, more);
    QFETCH(QString, code);
    m_release.application = told;
    publish(m_release);
    QCOMPARE(run(more), code);
}

void tst_InplaceTrust::applyOnly_checksWithItsOwnKeys()
{
    QCOMPARE(run({QStringLiteral("--fetch-only")}), QStringLiteral("ready"));
    const QString apply = QStringLiteral("--apply-only");
    QCOMPARE(m_stage->run({QStringLiteral("--public-key"), m_other.publicKey(), apply}),
             QStringLiteral("signature"));
    QCOMPARE(run({apply}), QStringLiteral("updated"));
    QCOMPARE(m_stage->differences(m_release), QString());
}

void tst_InplaceTrust::manifest_isKeptInStagingWithItsSignature()
{
    QCOMPARE(run(), QStringLiteral("updated"));
    const QString path = m_stage->staging + QLatin1Char('/') + LOCAL_MD5_FILENAME;
    const QByteArray content = ManifestContent(m_release.manifest());
    QCOMPARE(ReadFile(path), content);
    QVERIFY(m_key.accepts(content, ReadFile(path + QStringLiteral(".minisig"))));
}

void tst_InplaceTrust::unsigned_isInstalledWithoutAKey()
{
    m_stage->publish(m_release);
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QVERIFY(!QFile::exists(m_stage->staging + QStringLiteral("/inplace_update#state/highest")));
}

void tst_InplaceTrust::number_lower_isNoUpdateWithoutAKeyEither_data()
{
    QTest::addColumn<bool>("isComplete");
    QTest::addColumn<bool>("isKnown");
    QTest::newRow("a complete manifest") << true << true;
    QTest::newRow("a complete manifest, the installed one is lost") << true << false;
    QTest::newRow("an old manifest") << false << true;
    QTest::newRow("an old manifest, the installed one is lost") << false << false;
}

void tst_InplaceTrust::number_lower_isNoUpdateWithoutAKeyEither()
{
    QFETCH(bool, isComplete);
    QFETCH(bool, isKnown);
    m_stage->publish(m_release);
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    if (!isKnown) {
        QVERIFY(QDir(m_stage->staging).removeRecursively());
    }
    TestRelease lower = ManyKinds(1, 20);
    lower.isComplete = isComplete;
    m_stage->publish(lower);
    QCOMPARE(m_stage->run(), QStringLiteral("older"));
    QCOMPARE(m_stage->program().exitCode(), 0);
    QCOMPARE(m_stage->run({QStringLiteral("--check")}), QStringLiteral("older"));
    QCOMPARE(m_stage->differences(m_release), QString());
    QCOMPARE(m_stage->run({QStringLiteral("--allow-older")}), QStringLiteral("updated"));
}

/// Old manifests have no number of their own: which of two is installed is told by their bytes.
void tst_InplaceTrust::number_same_ofAnOldManifest()
{
    TestRelease old = m_release;
    old.isComplete = false;
    m_stage->publish(old);
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
    QCOMPARE(m_stage->run(), QStringLiteral("up-to-date"));
    old.tree.insert(QStringLiteral("Contents/MacOS/Sample"), File("#!/bin/sh\n", 0755));
    m_stage->publish(old);
    QCOMPARE(m_stage->run(), QStringLiteral("updated"));
}

QTEST_GUILESS_MAIN(tst_InplaceTrust)
#include "tst_inplace_trust.moc"
