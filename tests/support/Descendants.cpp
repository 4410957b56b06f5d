// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Descendants.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <algorithm>

#include <sys/prctl.h>
#include <sys/wait.h>

namespace {

constexpr int PatienceMs = 20000;

QList<qint64> Children()
{
    QList<qint64> children;
    const QDir tasks(QStringLiteral("/proc/self/task"));
    const QStringList names = tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &task : names) {
        QFile file(tasks.absoluteFilePath(task + QStringLiteral("/children")));
        if (!file.open(QIODevice::ReadOnly)) {
            continue; // the thread has ended
        }
        const QList<QByteArray> pids = file.readAll().simplified().split(' ');
        for (const QByteArray &pid : pids) {
            if (!pid.isEmpty()) {
                children.append(pid.toLongLong());
            }
        }
    }
    return children;
}

} // namespace

void AdoptDescendants()
{
    (void)::prctl(PR_SET_CHILD_SUBREAPER, 1); // if it fails, AwaitDescendants() has less to do
}

bool AwaitDescendants(const QList<qint64> &known)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < PatienceMs) {
        bool left = false;
        const QList<qint64> children = Children();
        for (const qint64 child : children) {
            if (!known.contains(child)) {
                const int ended = ::waitpid(static_cast<pid_t>(child), nullptr, WNOHANG);
                left = left || ended == 0;
            }
        }
        if (!left) {
            return true;
        }
        QThread::msleep(5);
    }
    return false;
}

int CountDescendants(const QList<qint64> &known)
{
    const QList<qint64> children = Children();
    return static_cast<int>(
        std::count_if(children.cbegin(), children.cend(),
                      [&known](qint64 child) { return !known.contains(child); }));
}
