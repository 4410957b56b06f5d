// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/StatusRecord.h"

#include <QFile>
#include <QSharedMemory>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>
#include <sys/wait.h>
#include <unistd.h>

/// Keys lie below temporary folders, so that no two runs share a segment.
class tst_StatusRecord : public QObject {
    Q_OBJECT

private slots:
    void claim_free_makesTwoZeroBytes();
    void claim_held_isRefusedAndReadsTheHoldersStatus();
    void claim_otherFolder_isIndependent();
    void claim_lastHolderGone_isFreeAgain();
    void read_bytes_countOnlyTheLowestBit_data();
    void read_bytes_countOnlyTheLowestBit();
    void write_success_setsByteZero();
    void record_withoutSegment_readsFalseAndDropsWrites();
    void claim_segment_isNotInheritedByChildren_data();
    void claim_segment_isNotInheritedByChildren();

private:
    QString folder() const { return m_folder.path() + QLatin1Char('/'); }
    QString key() const { return folder() + QStringLiteral("update_singleton"); }

    QTemporaryDir m_folder;
};

void tst_StatusRecord::claim_free_makesTwoZeroBytes()
{
    StatusRecord record(folder());
    QVERIFY(record.claim());
    QSharedMemory onlooker(key());
    QVERIFY(onlooker.attach(QSharedMemory::ReadOnly));
    QVERIFY(onlooker.size() >= 2);
    const auto *bytes = static_cast<const char *>(onlooker.constData());
    QCOMPARE(QByteArray(bytes, 2), QByteArray("\0\0", 2));
}

void tst_StatusRecord::claim_held_isRefusedAndReadsTheHoldersStatus()
{
    StatusRecord holder(folder());
    QVERIFY(holder.claim());
    holder.write({true, false});
    StatusRecord second(folder());
    QVERIFY(!second.claim());
    const StatusRecord::Status status = second.read();
    QCOMPARE(status.success, true);
    QCOMPARE(status.update, false);
}

void tst_StatusRecord::claim_otherFolder_isIndependent()
{
    StatusRecord here(folder());
    QVERIFY(here.claim());
    StatusRecord there(folder() + QStringLiteral("there"));
    QVERIFY(there.claim());
}

void tst_StatusRecord::claim_lastHolderGone_isFreeAgain()
{
    {
        StatusRecord holder(folder());
        QVERIFY(holder.claim());
    }
    StatusRecord next(folder());
    QVERIFY(next.claim());
}

void tst_StatusRecord::read_bytes_countOnlyTheLowestBit_data()
{
    QTest::addColumn<int>("byte0");
    QTest::addColumn<int>("byte1");
    QTest::addColumn<bool>("success");
    QTest::addColumn<bool>("update");
    QTest::newRow("0, 0") << 0 << 0 << false << false;
    QTest::newRow("1, 0") << 1 << 0 << true << false;
    QTest::newRow("0, 1") << 0 << 1 << false << true;
    QTest::newRow("0xFE, 0x03") << 0xFE << 0x03 << false << true;
    QTest::newRow("0xFF, 0x80") << 0xFF << 0x80 << true << false;
}

void tst_StatusRecord::read_bytes_countOnlyTheLowestBit()
{
    QFETCH(int, byte0);
    QFETCH(int, byte1);
    QFETCH(bool, success);
    QFETCH(bool, update);
    QSharedMemory segment(key());
    QVERIFY(segment.create(2, QSharedMemory::ReadWrite));
    auto *bytes = static_cast<uchar *>(segment.data());
    bytes[0] = static_cast<uchar>(byte0);
    bytes[1] = static_cast<uchar>(byte1);

    StatusRecord record(folder());
    QVERIFY(!record.claim());
    const StatusRecord::Status status = record.read();
    QCOMPARE(status.success, success);
    QCOMPARE(status.update, update);
}

void tst_StatusRecord::write_success_setsByteZero()
{
    StatusRecord record(folder());
    QVERIFY(record.claim());
    record.write({true, false});
    QSharedMemory onlooker(key());
    QVERIFY(onlooker.attach(QSharedMemory::ReadOnly));
    const auto *bytes = static_cast<const char *>(onlooker.constData());
    QCOMPARE(QByteArray(bytes, 2), QByteArray("\1\0", 2));
}

void tst_StatusRecord::record_withoutSegment_readsFalseAndDropsWrites()
{
    // A link to nowhere in place of the key file: no segment can be made.
    QVERIFY(QFile::link(QStringLiteral("/nowhere"), QSharedMemory(key()).nativeKey()));
    StatusRecord record(folder());
    const bool claimed = record.claim();
    record.write({true, true});
    const StatusRecord::Status status = record.read();
    QVERIFY(QFile::remove(QSharedMemory(key()).nativeKey()));
    QVERIFY(claimed);
    QCOMPARE(status.success, false);
    QCOMPARE(status.update, false);
}

namespace {

bool IsAttachedToAnything()
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("/SYSV");
}

} // namespace

void tst_StatusRecord::claim_segment_isNotInheritedByChildren_data()
{
    QTest::addColumn<bool>("isRunning");
    QTest::newRow("by the session that made it") << false;
    QTest::newRow("by a session that is refused") << true;
}

// A host application that cannot be started is a child that ends on its own time: still attached,
// it would leave the segment behind.
void tst_StatusRecord::claim_segment_isNotInheritedByChildren()
{
    QFETCH(bool, isRunning);
    std::unique_ptr<QSharedMemory> running;
    if (isRunning) {
        running = std::make_unique<QSharedMemory>(key());
        QVERIFY(running->create(2));
    }
    StatusRecord record(folder());
    QCOMPARE(record.claim(), !isRunning);
    running.reset();
    if (!IsAttachedToAnything()) {
        QSKIP("this toolkit or system does not share memory by System V segments");
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(IsAttachedToAnything() ? EXIT_FAILURE : EXIT_SUCCESS);
    }
    int status = -1;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QVERIFY(WIFEXITED(status));
    QCOMPARE(WEXITSTATUS(status), EXIT_SUCCESS);
}

QTEST_APPLESS_MAIN(tst_StatusRecord)
#include "tst_statusrecord.moc"
