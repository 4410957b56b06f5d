// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/inplace/InplaceStage.h"
#include "ui/UpdateProgress.h"

#include <QPushButton>
#include <QtTest>

/// Updates that come to a good end, or are cancelled.
class tst_InplaceUpdate : public QObject {
    Q_OBJECT

private slots:
    void init();
    void update_olderInstallation_becomesTheRelease_data();
    void update_olderInstallation_becomesTheRelease();
    void update_again_keepsTheOldCopies_data();
    void update_again_keepsTheOldCopies();
    void update_damagedFile_isReplacedOnceUnlisted();
    void update_staleManifest_isWrittenAnew();
    void update_everythingStaged_opensNoDialog();
    void update_modes_areCarriedOver();
    void update_linksInTheStagingFolder_areNotFollowed();
    void update_otherVolume_isCopied();
    void update_lockThatNamesNobody_isTaken();
    void update_cancelled_canBeResumed_data();
    void update_cancelled_canBeResumed();

private:
    QScopedPointer<InplaceStage> m_stage;
};

void tst_InplaceUpdate::init()
{
    m_stage.reset(new InplaceStage);
}

void tst_InplaceUpdate::update_olderInstallation_becomesTheRelease_data()
{
    QTest::addColumn<bool>("console");
    QTest::addColumn<bool>("localManifest");
    QTest::newRow("console") << true << true;
    QTest::newRow("windows") << false << true;
    QTest::newRow("no local manifest") << true << false;
}

void tst_InplaceUpdate::update_olderInstallation_becomesTheRelease()
{
    QFETCH(bool, console);
    QFETCH(bool, localManifest);
    if (!localManifest) {
        QVERIFY(QFile::remove(m_stage->installPath(QStringLiteral("update_md5.info"))));
    }
    const Outcome outcome = m_stage->update(console);
    QCOMPARE(outcome.message, QStringLiteral("更新成功"));
    QVERIFY(outcome.success);
    QVERIFY(outcome.update);
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
    QVERIFY(m_stage->staged().isEmpty());
    QCOMPARE(m_stage->requested(),
             QStringList({QStringLiteral("/update.json"), QStringLiteral("update_md5.info"),
                          QStringLiteral("d/changed"), QStringLiteral("new/deep/added"),
                          QStringLiteral("z")}));
    if (console) {
        QCOMPARE(m_stage->dialogs(), 0);
    }
}

void tst_InplaceUpdate::update_again_keepsTheOldCopies_data()
{
    QTest::addColumn<bool>("localManifest");
    QTest::newRow("local manifest") << true;
    QTest::newRow("no local manifest") << false;
}

void tst_InplaceUpdate::update_again_keepsTheOldCopies()
{
    QFETCH(bool, localManifest);
    QVERIFY(m_stage->update().success);
    if (!localManifest) {
        QVERIFY(QFile::remove(m_stage->installPath(QStringLiteral("update_md5.info"))));
    }
    const Outcome outcome = m_stage->update(false);
    QVERIFY(outcome.success);
    QVERIFY(!outcome.update);
    QCOMPARE(outcome.message, QStringLiteral("已是最新版本"));
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
    QCOMPARE(m_stage->dialogs(), 0);
}

void tst_InplaceUpdate::update_damagedFile_isReplacedOnceUnlisted()
{
    QVERIFY(m_stage->update().success);
    WriteFile(m_stage->installPath(QStringLiteral("z")), "damaged");
    QVERIFY(!m_stage->update().update); // the local manifest lists it, and is believed
    QVERIFY(QFile::remove(m_stage->installPath(QStringLiteral("update_md5.info"))));
    QVERIFY(m_stage->update().update);
    QCOMPARE(ReadFile(m_stage->installPath(QStringLiteral("z"))), QByteArray("new z"));
    QCOMPARE(ReadFile(m_stage->installPath(QStringLiteral("z.old"))), QByteArray("damaged"));
}

void tst_InplaceUpdate::update_staleManifest_isWrittenAnew()
{
    QVERIFY(m_stage->update().success);
    WriteFile(m_stage->installPath(QStringLiteral("update_md5.info")),
              ManifestOf(InplaceStage::oldRelease()));
    const Outcome outcome = m_stage->update();
    QVERIFY(outcome.success);
    QVERIFY(!outcome.update);
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
}

void tst_InplaceUpdate::update_everythingStaged_opensNoDialog()
{
    const FileMap release = InplaceStage::newRelease();
    for (auto file = release.cbegin(); file != release.cend(); ++file) {
        WriteFile(m_stage->stagingPath(file.key()), file.value());
    }
    const Outcome outcome = m_stage->update(false);
    QVERIFY(outcome.success);
    QVERIFY(outcome.update);
    QCOMPARE(m_stage->dialogs(), 0);
    QCOMPARE(m_stage->requested().size(), 2);
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
}

void tst_InplaceUpdate::update_modes_areCarriedOver()
{
    FileMap release = InplaceStage::newRelease();
    release.insert(QStringLiteral("tool"), "#!/bin/sh\n");
    m_stage->publish(release);
    QVERIFY(QFile::setPermissions(m_stage->installPath(QStringLiteral("z")),
                                  QFile::Permissions(0x7050)));
    QVERIFY(m_stage->update().success);
    const auto mode = [this](const char *path) {
        const QFileInfo info(m_stage->installPath(QLatin1String(path)));
        return static_cast<int>(info.permissions()) & 0x7077;
    };
    QCOMPARE(mode("z"), 0x7050);
    QCOMPARE(mode("tool") & 0x1011, (mode("tool") & 0x4044) >> 2);
    QCOMPARE(mode("d/changed") & 0x1011, 0);
}

void tst_InplaceUpdate::update_linksInTheStagingFolder_areNotFollowed()
{
    const QString elsewhere = m_stage->folders.temporary.filePath(QStringLiteral("elsewhere"));
    WriteFile(elsewhere + QStringLiteral("/precious"), "x");
    QVERIFY(QFile::link(elsewhere, m_stage->stagingPath(QStringLiteral("z"))));
    QVERIFY(QFile::link(elsewhere, m_stage->stagingPath(QStringLiteral("d"))));
    QVERIFY(m_stage->update().success);
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
    QCOMPARE(ReadTree(QDir(elsewhere)), FileMap({{QStringLiteral("precious"), "x"}}));
    QVERIFY(!QFileInfo(m_stage->installPath(QStringLiteral("z"))).isSymLink());
}

void tst_InplaceUpdate::update_otherVolume_isCopied()
{
    const QTemporaryDir other(QStringLiteral("/dev/shm/updater-test.XXXXXX"));
    if (!other.isValid() ||
        QStorageInfo(other.path()) == QStorageInfo(m_stage->folders.install.path())) {
        QSKIP("There is no second volume here.");
    }
    m_stage->folders.staging = QDir(other.path());
    QVERIFY(m_stage->update().success);
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
    QVERIFY(m_stage->staged().isEmpty());
}

void tst_InplaceUpdate::update_lockThatNamesNobody_isTaken()
{
    // What is left of an update that was killed between making its lock and writing its name.
    QFile lock(m_stage->installPath(QStringLiteral("inplace_update#lock")));
    QVERIFY(lock.open(QIODevice::WriteOnly));
    lock.close();
    QVERIFY(m_stage->update().success);
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
}

void tst_InplaceUpdate::update_cancelled_canBeResumed_data()
{
    QTest::addColumn<bool>("escape");
    QTest::newRow("Escape") << true;
    QTest::newRow("cancel") << false;
}

void tst_InplaceUpdate::update_cancelled_canBeResumed()
{
    QFETCH(bool, escape);
    const FileMap published = Published(InplaceStage::newRelease());
    m_stage->serve([&](ScriptedConnection &connection, const QByteArray &request) {
        if (RequestedPath(request).endsWith(QStringLiteral("/z"))) {
            connection.hang();
        }
        ServeFiles(published)(connection, request);
    });
    const FileMap before = m_stage->installed();

    const Outcome outcome = m_stage->update(false, [&](CUpdateProgress &dialog) {
        if (m_stage->requested().size() < 5) {
            return;
        }
        if (escape) {
            QTest::keyClick(&dialog, Qt::Key_Escape);
        } else {
            QTest::mouseClick(dialog.findChild<QPushButton *>(QStringLiteral("cancel")),
                              Qt::LeftButton);
        }
    });

    QVERIFY(!outcome.success);
    QVERIFY(!outcome.update);
    QCOMPARE(outcome.message, QStringLiteral("已取消"));
    QCOMPARE(m_stage->dialogs(), 1);
    QCOMPARE(m_stage->installed(), before);
    QCOMPARE(m_stage->staged().keys(),
             QStringList({QStringLiteral("d/changed"), QStringLiteral("new/deep/added")}));

    m_stage->publish(InplaceStage::newRelease());
    QVERIFY(m_stage->update().success);
    QCOMPARE(m_stage->requested().size(), 3);
    QCOMPARE(m_stage->installed(), InplaceStage::updated());
}

QTEST_MAIN(tst_InplaceUpdate)
#include "tst_inplace_update.moc"
