// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "MacCalls.h"

#include "inplace/VolumeCalls.h"
#include "release/FileCalls.h"

#include <QtTest>

#include <cerrno>

/// How the files for macOS handle results that only a Mac returns.
class tst_MacCalls : public QObject {
    Q_OBJECT

private slots:
    void init();

    void exchangeNames_unknownToTheVolume_isSaid();
    void cloneContent_file_isCopied();
    void cloneContent_stoppedHalfWay_startsAgain();
    void isMountPoint_volumeByAnotherPath_isSeen();
    void isMountPoint_volumeGone_isNone();
    void syncThroughDisk_file_emptiesTheDisksCache();
    void syncThroughDisk_volumeKnowsNoFullSync_syncsAsUsual();
    void syncInTree_file_leavesTheDiskItsCache();
};

namespace {

/// Two temporary files, one with content.
struct Files {
    QTemporaryFile from;
    QTemporaryFile to;

    Files()
    {
        QVERIFY(from.open() && to.open());
        QVERIFY(from.write("content") == 7 && from.flush() && from.seek(0));
    }

    QByteArray copy() const
    {
        QFile file(to.fileName());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
    }
};

} // namespace

void tst_MacCalls::init()
{
    MacCalls::it() = {};
}

void tst_MacCalls::exchangeNames_unknownToTheVolume_isSaid()
{
    MacCalls::it().exchangeError = ENOTSUP;
    QVERIFY(!ExchangeNames("/one", "/other"));
    QVERIFY(IsExchangeUnknown(errno));
}

void tst_MacCalls::cloneContent_file_isCopied()
{
    const Files files;
    QVERIFY(CloneContent(files.from.handle(), files.to.handle()));
    QCOMPARE(files.copy(), QByteArray("content"));
}

void tst_MacCalls::cloneContent_stoppedHalfWay_startsAgain()
{
    MacCalls::it().copyError = EIO;
    const Files files;
    QVERIFY(!CloneContent(files.from.handle(), files.to.handle()));
    QCOMPARE(errno, EIO);
    QCOMPARE(files.copy(), QByteArray());
    MacCalls::it().copyError = 0;
    QVERIFY(CloneContent(files.from.handle(), files.to.handle()));
    QCOMPARE(files.copy(), QByteArray("content"));
}

void tst_MacCalls::isMountPoint_volumeByAnotherPath_isSeen()
{
    MacCalls::it().volumePrefix = "/proc/self/root";
    QVERIFY(IsMountPoint("/proc"));
    QVERIFY(!IsMountPoint("/proc/sys"));
}

void tst_MacCalls::isMountPoint_volumeGone_isNone()
{
    MacCalls::it().volumePrefix = "/nowhere";
    QVERIFY(!IsMountPoint("/proc"));
}

void tst_MacCalls::syncThroughDisk_file_emptiesTheDisksCache()
{
    const Files files;
    QVERIFY(SyncThroughDisk(files.from.handle()));
    QCOMPARE(MacCalls::it().fullSyncs, 1);
}

void tst_MacCalls::syncThroughDisk_volumeKnowsNoFullSync_syncsAsUsual()
{
    MacCalls::it().fullSyncError = ENOTSUP;
    const Files files;
    QVERIFY(SyncThroughDisk(files.from.handle()));
    QVERIFY(!SyncThroughDisk(-1));
    QCOMPARE(errno, EBADF);
}

void tst_MacCalls::syncInTree_file_leavesTheDiskItsCache()
{
    const Files files;
    QVERIFY(!WritesVolumes);
    QVERIFY(SyncVolume(files.from.handle()));
    QVERIFY(SyncInTree(files.from.handle()));
    QCOMPARE(MacCalls::it().fullSyncs, 0);
}

QTEST_GUILESS_MAIN(tst_MacCalls)
#include "tst_maccalls.moc"
