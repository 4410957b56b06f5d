// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Worker.h"

#include "inplace/SizeGuard.h"
#include "inplace/WorkerLines.h"
#include "inplace/WorkerWatch.h"
#include "ui/UpdateProgress.h"

#include <QEventLoop>

#include <memory>
#include <utility>

namespace {

void RunWithLines(CDownloadThread &worker)
{
    QEventLoop loop;
    QObject::connect(&worker, &QThread::finished, &loop, &QEventLoop::quit);
    worker.start();
    loop.exec();
}

void RunUnderDialog(CDownloadThread &worker)
{
    CUpdateProgress dialog(worker);
    (void)dialog.exec(); // the worker knows how it ended
}

Problem ProblemOf(CDownloadThread &worker, const WorkerWatch *watch, const SizeGuard *guard,
                  int stallSeconds)
{
    const QString said = worker.errormsg();
    if (worker.success()) {
        return {};
    }
    if (!said.isEmpty()) {
        const QString failure = watch ? watch->networkFailure() : QString();
        return failure.isEmpty()
                   ? Problem{End::Download, said}
                   : Problem{End::Network, QStringLiteral("%1(%2)").arg(said, failure)};
    }
    if (guard && !guard->message().isEmpty()) {
        return {End::TooLong, guard->message()};
    }
    if (watch && watch->hasStalled()) {
        return {End::Stalled, QObject::tr("服务器%1秒没有发送数据").arg(stallSeconds)};
    }
    return CancelledProblem();
}

} // namespace

Problem RunWorker(const WorkerTask &task, StopSignals &stop)
{
    QList<tagDownloadFileInfo> files = task.files;
    for (tagDownloadFileInfo &file : files) {
        std::swap(file.sizeHigh, file.sizeLow); // the worker combines them in the opposite order
    }
    CDownloadThread worker(task.url, task.staging, task.install, files);
    // A worker that ended in its constructor would never finish its thread.
    if (!worker.errormsg().isEmpty()) {
        return ProblemOf(worker, nullptr, nullptr, task.stallSeconds);
    }
    const SizeGuard guard(worker, task.files);
    const WorkerWatch watch(worker, task.stallSeconds);
    QObject::connect(&stop, &StopSignals::wanted, &worker, &QThread::quit);
    if (!StopSignals::isWanted() && task.console) {
        const WorkerLines lines(worker, task.files);
        RunWithLines(worker);
    } else if (!StopSignals::isWanted()) {
        RunUnderDialog(worker);
    }
    worker.quit();
    worker.wait();
    return ProblemOf(worker, &watch, &guard, task.stallSeconds);
}
