// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Worker.h"

#include "inplace/Report.h"
#include "inplace/SizeGuard.h"
#include "ui/UpdateProgress.h"

#include <QEventLoop>

#include <utility>

namespace {

void RunUnderDialog(CDownloadThread &worker)
{
    CUpdateProgress dialog(worker);
    (void)dialog.exec(); // cancelled or ended: the worker tells
}

void RunWithLines(CDownloadThread &worker)
{
    QObject::connect(&worker, &CDownloadThread::downloadStarted, &worker,
                     [](const QFileInfo &file, int current, int total) {
                         SayProgress(QStringLiteral("[%1/%2] %3")
                                         .arg(QString::number(current + 1), QString::number(total),
                                              file.fileName()));
                     });
    QEventLoop loop;
    QObject::connect(&worker, &QThread::finished, &loop, &QEventLoop::quit);
    worker.start();
    loop.exec();
}

} // namespace

WorkerResult RunWorker(const QString &url, const QDir &staging, const QDir &install,
                       QList<tagDownloadFileInfo> files, bool console)
{
    const QList<tagDownloadFileInfo> listed = files;
    for (tagDownloadFileInfo &file : files) {
        std::swap(file.sizeHigh, file.sizeLow); // the worker combines them the other way round
    }
    if (console) {
        SayProgress(QObject::tr("需要更新%1个文件").arg(files.size()));
    }
    CDownloadThread worker(url, staging, install, files);
    const SizeGuard guard(worker, listed);
    // One that ended in its constructor would never finish its thread.
    if (worker.errormsg().isEmpty()) {
        if (console) {
            RunWithLines(worker);
        } else {
            RunUnderDialog(worker);
        }
        worker.quit();
        worker.wait();
    }
    const QString said = worker.errormsg();
    return {worker.success(), said.isEmpty() ? guard.message() : said};
}
