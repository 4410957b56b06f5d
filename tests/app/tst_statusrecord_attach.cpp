// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/StatusRecord.h"

#include <QTemporaryDir>
#include <QtTest>

Q_DECLARE_METATYPE(QSharedMemory::SharedMemoryError)

namespace {

QSharedMemory::SharedMemoryError AttachError = QSharedMemory::NoError;

} // namespace

// Replace the toolkit's functions in this program.
bool QSharedMemory::attach(AccessMode)
{
    return false;
}

QSharedMemory::SharedMemoryError QSharedMemory::error() const
{
    return AttachError;
}

/// What a failed attempt to attach to the status record means. A separate test, because it replaces
/// functions of the toolkit.
class tst_StatusRecordAttach : public QObject {
    Q_OBJECT

private slots:
    static void claim_attachFails_onlyAlreadyExistsMeansRunning_data();
    static void claim_attachFails_onlyAlreadyExistsMeansRunning();
};

void tst_StatusRecordAttach::claim_attachFails_onlyAlreadyExistsMeansRunning_data()
{
    QTest::addColumn<QSharedMemory::SharedMemoryError>("error");
    QTest::addColumn<bool>("claimed");
    QTest::newRow("NotFound") << QSharedMemory::NotFound << true;
    QTest::newRow("AlreadyExists") << QSharedMemory::AlreadyExists << false;
    QTest::newRow("PermissionDenied") << QSharedMemory::PermissionDenied << true;
    QTest::newRow("InvalidSize") << QSharedMemory::InvalidSize << true;
    QTest::newRow("KeyError") << QSharedMemory::KeyError << true;
    QTest::newRow("LockError") << QSharedMemory::LockError << true;
    QTest::newRow("OutOfResources") << QSharedMemory::OutOfResources << true;
    QTest::newRow("UnknownError") << QSharedMemory::UnknownError << true;
}

void tst_StatusRecordAttach::claim_attachFails_onlyAlreadyExistsMeansRunning()
{
    QFETCH(QSharedMemory::SharedMemoryError, error);
    QFETCH(bool, claimed);
    const QTemporaryDir folder;
    AttachError = error;
    StatusRecord record(folder.path());
    QCOMPARE(record.claim(), claimed);
}

QTEST_APPLESS_MAIN(tst_StatusRecordAttach)
#include "tst_statusrecord_attach.moc"
