// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/StatusRecord.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cstring>

namespace {

QSharedMemory *Onlooker = nullptr; // attached to the record's segment
QByteArray AtLock;                 // what is written into the segment when the record locks it
QByteArray AtUnlock;               // and when it unlocks it
QStringList Seen;

void Step(const char *what, const QByteArray &put)
{
    if (!Onlooker || !Onlooker->isAttached()) {
        return;
    }
    auto *bytes = static_cast<char *>(Onlooker->data());
    Seen << QLatin1String(what) + QString::fromLatin1(QByteArray(bytes, 2).toHex());
    if (!put.isEmpty()) {
        std::memcpy(bytes, put.constData(), 2);
    }
}

} // namespace

// Replace the toolkit's functions in this program.
bool QSharedMemory::lock()
{
    if (Onlooker && !Onlooker->isAttached()) {
        (void)Onlooker->attach(); // a record's segment exists before it is locked
    }
    Step("lock ", AtLock);
    return true;
}

bool QSharedMemory::unlock()
{
    Step("unlock ", AtUnlock);
    return true;
}

/// The lock around the status record. A separate test, because it replaces functions of the
/// toolkit.
class tst_StatusRecordLock : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void claim_zeroes_areWrittenUnderTheLock();
    void write_status_isWrittenUnderTheLock();
    void read_status_isReadUnderTheLock();

private:
    QString folder() const { return m_folder.path() + QLatin1Char('/'); }

    QTemporaryDir m_folder;
    QScopedPointer<QSharedMemory> m_onlooker;
};

void tst_StatusRecordLock::init()
{
    m_onlooker.reset(new QSharedMemory(folder() + QStringLiteral("update_singleton")));
    AtLock.clear();
    AtUnlock.clear();
}

void tst_StatusRecordLock::cleanup()
{
    Onlooker = nullptr;
    m_onlooker.reset();
    Seen.clear();
}

void tst_StatusRecordLock::claim_zeroes_areWrittenUnderTheLock()
{
    AtLock = QByteArray("\1\1", 2);
    Onlooker = m_onlooker.data();
    StatusRecord record(folder());
    QVERIFY(record.claim());
    QCOMPARE(Seen, QStringList({QStringLiteral("lock 0000"), QStringLiteral("unlock 0000")}));
}

void tst_StatusRecordLock::write_status_isWrittenUnderTheLock()
{
    StatusRecord record(folder());
    QVERIFY(record.claim());
    Onlooker = m_onlooker.data();
    record.write({true, false});
    QCOMPARE(Seen, QStringList({QStringLiteral("lock 0000"), QStringLiteral("unlock 0100")}));
}

void tst_StatusRecordLock::read_status_isReadUnderTheLock()
{
    StatusRecord record(folder());
    QVERIFY(record.claim());
    Onlooker = m_onlooker.data();
    AtLock = QByteArray("\1\1", 2);
    AtUnlock = QByteArray(2, '\0');
    const StatusRecord::Status status = record.read();
    QCOMPARE(Seen, QStringList({QStringLiteral("lock 0000"), QStringLiteral("unlock 0101")}));
    QCOMPARE(status.success, true);
    QCOMPARE(status.update, true);
}

QTEST_APPLESS_MAIN(tst_StatusRecordLock)
#include "tst_statusrecord_lock.moc"
