// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/SystemVIpc.h"

#include "tests/support/TestFiles.h"

#include <sys/sem.h>

namespace {

constexpr int Id = 1; // columns of the list of semaphores
constexpr int LastOperation = 8;

QList<QByteArray> Listed(const QString &path)
{
    QList<QByteArray> lines = ReadFile(path).split('\n');
    lines.removeFirst(); // the heading
    if (!lines.isEmpty()) {
        lines.removeLast(); // empty behind the last line end
    }
    return lines;
}

} // namespace

QList<QByteArray> SharedMemorySegments()
{
    return Listed(QStringLiteral("/proc/sysvipc/shm"));
}

QList<QByteArray> Semaphores()
{
    return Listed(QStringLiteral("/proc/sysvipc/sem"));
}

void RemoveSemaphores()
{
    const QList<QByteArray> semaphores = Semaphores();
    for (const QByteArray &semaphore : semaphores) {
        (void)::semctl(semaphore.simplified().split(' ').value(Id).toInt(), 0, IPC_RMID);
    }
}

int RemoveHalfMadeSemaphores()
{
    int removed = 0;
    const QList<QByteArray> semaphores = Semaphores();
    for (const QByteArray &semaphore : semaphores) {
        const QList<QByteArray> columns = semaphore.simplified().split(' ');
        const int id = columns.value(Id).toInt();
        if (columns.value(LastOperation) == "0" && ::semctl(id, 0, GETVAL) == 0) {
            removed += ::semctl(id, 0, IPC_RMID) == 0 ? 1 : 0;
        }
    }
    return removed;
}
