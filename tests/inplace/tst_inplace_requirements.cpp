// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Requirements.h"
#include "tests/inplace/InplaceFixture.h"

#include <QtTest>

class tst_InplaceRequirements : public QObject {
    Q_OBJECT

private slots:
    static void bytesToFetch_staged_areNotCounted_data();
    static void bytesToFetch_staged_areNotCounted();
    static void bytesToFetch_sizes_areThoseOfTheManifest();
    static void roomReason_twiceAndSpare_isNeeded();
    static void removeLinks_files_stay();
    static void foldersReason_root_holdsEverything();
    static void foldersReason_lineFeed_isRefused();
};

void tst_InplaceRequirements::bytesToFetch_staged_areNotCounted_data()
{
    QTest::addColumn<QByteArray>("staged");
    QTest::addColumn<quint64>("bytes");
    QTest::newRow("nothing") << QByteArray() << quint64{107};
    QTest::newRow("all of it") << QByteArray("content") << quint64{100};
    QTest::newRow("a part") << QByteArray("cont") << quint64{103};
    QTest::newRow("too much") << QByteArray("content and more") << quint64{100};
    QTest::newRow("something else") << QByteArray("c0ntent") << quint64{100};
}

void tst_InplaceRequirements::bytesToFetch_staged_areNotCounted()
{
    QFETCH(QByteArray, staged);
    const UpdateFolders folders;
    if (!staged.isNull()) {
        WriteFile(folders.stagingPath(QStringLiteral("d/file")), staged);
    }
    WriteFile(folders.stagingPath(QStringLiteral("other/is a folder")), "x");
    QTEST(BytesToFetch({ReplacementOf(QStringLiteral("d/file"), {}, "content"),
                        ReplacementOf(QStringLiteral("other"), {}, QByteArray(100, 'x'))},
                       folders.staging),
          "bytes");
}

void tst_InplaceRequirements::bytesToFetch_sizes_areThoseOfTheManifest()
{
    const UpdateFolders folders;
    Replacement replacement = ReplacementOf(QStringLiteral("file"), {}, "");
    replacement.file.sizeHigh = 1;
    replacement.file.sizeLow = 2;
    QCOMPARE(BytesToFetch({replacement}, folders.staging), Q_UINT64_C(0x100000002));
}

void tst_InplaceRequirements::roomReason_twiceAndSpare_isNeeded()
{
    const UpdateFolders folders;
    Replacement replacement = ReplacementOf(QStringLiteral("file"), {}, "");
    QCOMPARE(RoomReason({replacement}, folders.staging, folders.install), QString());
    replacement.file.sizeHigh = 1U << 20U;
    const QString reason = RoomReason({replacement}, folders.staging, folders.install);
    const quint64 needed = 2 * (quint64{1} << 52U) + (quint64{64} << 20U);
    QVERIFY2(reason.contains(QStringLiteral("需要%1字节").arg(needed)), qPrintable(reason));
}

void tst_InplaceRequirements::removeLinks_files_stay()
{
    const UpdateFolders folders;
    const QString elsewhere = folders.temporary.filePath(QStringLiteral("elsewhere"));
    WriteFile(elsewhere + QStringLiteral("/x"), "x");
    WriteFile(folders.stagingPath(QStringLiteral("d/file")), "y");
    for (const char *link : {"link", "d/.hidden link"}) {
        QVERIFY(QFile::link(elsewhere, folders.stagingPath(QLatin1String(link))));
    }
    QVERIFY(QFile::link(QStringLiteral("/nonexistent"),
                        folders.stagingPath(QStringLiteral("to nothing"))));
    RemoveLinks(folders.staging);
    QCOMPARE(ReadTree(folders.staging), FileMap({{QStringLiteral("d/file"), "y"}}));
    for (const char *link : {"link", "d/.hidden link", "to nothing"}) {
        QVERIFY(!QFileInfo(folders.stagingPath(QLatin1String(link))).isSymLink());
    }
    QCOMPARE(ReadTree(QDir(elsewhere)), FileMap({{QStringLiteral("x"), "x"}}));
}

void tst_InplaceRequirements::foldersReason_root_holdsEverything()
{
    const UpdateFolders folders;
    const QString overlap = QStringLiteral("不能重叠");
    QVERIFY(FoldersReason(folders.staging, QDir::root()).contains(overlap));
    QVERIFY(FoldersReason(QDir::root(), folders.install).contains(overlap));
}

void tst_InplaceRequirements::foldersReason_lineFeed_isRefused()
{
    UpdateFolders folders;
    folders.install = QDir(folders.installPath(QStringLiteral("line\nfeed")));
    QVERIFY(folders.install.mkpath(QStringLiteral(".")));
    QVERIFY(FoldersReason(folders.staging, folders.install).contains(QStringLiteral("换行")));
}

QTEST_GUILESS_MAIN(tst_InplaceRequirements)
#include "tst_inplace_requirements.moc"
