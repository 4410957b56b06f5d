// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/FileNames.h"
#include "inplace/Layout.h"
#include "tests/inplace/InplaceStage.h"
#include "tests/support/TestFiles.h"

#include <QtTest>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

/// Where the installed manifest is kept when the caller says so, and installations at places that
/// are no good for one.
class tst_InplaceManifest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void manifest_isKeptWhereItIsWanted();
    void manifest_signatureOfAFormerOne_goes();
    void manifest_insideTheInstallation_data();
    void manifest_insideTheInstallation();
    void manifest_cannotBeKept_isMendedByTheNextRun();
    void install_atABadPlace_isRefused_data();
    void install_atABadPlace_isRefused();
    void group_ofOthers_isKeptWhereItMayBe();

private:
    QString kept() const { return m_stage->temporary.filePath(QStringLiteral("kept/list")); }

    std::unique_ptr<InplaceStage> m_stage;
    QByteArray m_wanted; // the manifest of the new release
};

void tst_InplaceManifest::init()
{
    m_stage = std::make_unique<InplaceStage>(QStringLiteral("Sample"));
    LayNodes(m_stage->install, InplaceStage::oldRelease().tree);
    QVERIFY(QDir().mkpath(QFileInfo(kept()).path()));
    WriteFile(kept(), ManifestContent(InplaceStage::oldRelease().manifest()));
    m_stage->publish(InplaceStage::newRelease());
    m_wanted = ManifestContent(InplaceStage::newRelease().manifest());
}

void tst_InplaceManifest::manifest_isKeptWhereItIsWanted()
{
    const QStringList more{QStringLiteral("--manifest"), kept()};
    QCOMPARE(m_stage->run(more), QStringLiteral("updated"));
    QCOMPARE(ReadFile(kept()), m_wanted);
    QCOMPARE(Differences(m_stage->installed(), WithFolders(InplaceStage::newRelease().tree)),
             QString());
    QCOMPARE(m_stage->run(more), QStringLiteral("up-to-date"));
    QCOMPARE(m_stage->run(more + QStringList(QStringLiteral("--undo"))), QStringLiteral("undone"));
    QCOMPARE(ReadFile(kept()), ManifestContent(InplaceStage::oldRelease().manifest()));
    QCOMPARE(m_stage->differences(InplaceStage::oldRelease()), QString());
}

void tst_InplaceManifest::manifest_signatureOfAFormerOne_goes()
{
    WriteFile(SignaturePath(kept()), "of the old release");
    QCOMPARE(m_stage->run({QStringLiteral("--manifest"), kept()}), QStringLiteral("updated"));
    QCOMPARE(ReadFile(kept()), m_wanted);
    QVERIFY(!QFileInfo::exists(SignaturePath(kept())));
}

void tst_InplaceManifest::manifest_insideTheInstallation_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("code");
    QTest::newRow("at its usual place") << QString(LOCAL_MD5_FILENAME) << "updated";
    QTest::newRow("under another name") << "list"
                                        << "folders";
    QTest::newRow("in a folder") << "d/update_md5.info"
                                 << "folders";
}

void tst_InplaceManifest::manifest_insideTheInstallation()
{
    QFETCH(QString, name);
    QFETCH(QString, code);
    const QString path = m_stage->install + QLatin1Char('/') + name;
    QCOMPARE(m_stage->run({QStringLiteral("--manifest"), path}), code);
    QCOMPARE(QFileInfo::exists(path), code == QLatin1String("updated"));
}

void tst_InplaceManifest::manifest_cannotBeKept_isMendedByTheNextRun()
{
    const QStringList more{QStringLiteral("--manifest"), kept()};
    const QString inTheWay = kept() + QStringLiteral("#part");
    QVERIFY(QDir().mkpath(inTheWay));
    QCOMPARE(m_stage->run(more), QStringLiteral("storage"));
    QCOMPARE(m_stage->program().report().value(QStringLiteral("update")).toBool(), true);
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
    QVERIFY(QDir().rmdir(inTheWay));
    QCOMPARE(m_stage->run(more), QStringLiteral("up-to-date"));
    QCOMPARE(ReadFile(kept()), m_wanted);

    // The same with a signature that cannot be removed.
    QVERIFY(QDir().mkpath(SignaturePath(kept())));
    TestRelease next = InplaceStage::newRelease();
    next.version = 2000000;
    next.versionString = QStringLiteral("2.0.0");
    m_stage->publish(next);
    QCOMPARE(m_stage->run(more), QStringLiteral("storage"));
    QVERIFY(QDir().rmdir(SignaturePath(kept())));
    QCOMPARE(m_stage->run(more), QStringLiteral("up-to-date"));
    QCOMPARE(ReadFile(kept()), ManifestContent(next.manifest()));
}

void tst_InplaceManifest::install_atABadPlace_isRefused_data()
{
    QTest::addColumn<QString>("install");
    QTest::addColumn<QString>("code");
    QTest::newRow("the root") << "/"
                              << "mount-point";
    QTest::newRow("the root, in another way") << "/tmp/.."
                                              << "mount-point";
    QTest::newRow("where the system runs copies") << "AppTranslocation/x/Sample"
                                                  << "read-only";
}

void tst_InplaceManifest::install_atABadPlace_isRefused()
{
    QFETCH(QString, install);
    QFETCH(QString, code);
    if (!install.startsWith(QLatin1Char('/'))) {
        install = m_stage->temporary.filePath(install);
        LayNodes(install, InplaceStage::oldRelease().tree);
    }
    m_stage->install = install;
    QCOMPARE(m_stage->run(), code);
    QCOMPARE(m_stage->requested(), QStringList());
}

/// A user who is no member of a file's group gets files of their own group.
void tst_InplaceManifest::group_ofOthers_isKeptWhereItMayBe()
{
    if (::geteuid() != 0) {
        QSKIP("Only root can become another user.");
    }
    constexpr uid_t Nobody = 65534;
    constexpr gid_t Member = 65533;
    constexpr gid_t Stranger = 65532;
    const QByteArray folder = QFile::encodeName(m_stage->temporary.path());
    QVERIFY(QDir().mkpath(m_stage->staging));
    QCOMPARE(::chmod(folder.constData(), 0755), 0);
    QCOMPARE(QProcess::execute(
                 QStringLiteral("chown"),
                 {QStringLiteral("-hR"), QStringLiteral("65534:65534"), m_stage->temporary.path()}),
             0);
    const auto path = [this](const char *name) {
        return QFile::encodeName(m_stage->install + QLatin1Char('/') + QLatin1String(name));
    };
    QCOMPARE(::chown(path("z").constData(), Nobody, Member), 0);
    QCOMPARE(::chown(path("d/changed").constData(), Nobody, Stranger), 0);
    InplaceProgram program(m_stage->arguments({QStringLiteral("--manifest"), kept()}));
    program.prefix({QStringLiteral("setpriv"), QStringLiteral("--reuid=65534"),
                    QStringLiteral("--regid=65534"), QStringLiteral("--groups=65533")});
    QCOMPARE(program.run(), 0);
    QCOMPARE(m_stage->differences(InplaceStage::newRelease()), QString());
    struct stat about {};
    QCOMPARE(::stat(path("z").constData(), &about), 0);
    QCOMPARE(about.st_gid, Member);
    QCOMPARE(::stat(path("d/changed").constData(), &about), 0);
    QCOMPARE(about.st_gid, gid_t{65534});
}

QTEST_GUILESS_MAIN(tst_InplaceManifest)
#include "tst_inplace_manifest.moc"
