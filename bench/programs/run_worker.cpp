// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "engine/DownloadThread.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>
#include <utility>

/// run_worker BASE_URL MANIFEST STAGING: stages the files of an update and stops there, because
/// nothing can be moved into its installation. Prints the worker's message; the exit code is 0 if
/// all files were staged.
int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    QFile manifest(arguments.value(2));
    if (!manifest.open(QIODevice::ReadOnly)) {
        return 2;
    }
    QList<tagDownloadFileInfo> records = ParseMd5File(manifest.readAll()).values();
    for (tagDownloadFileInfo &record : records) {
        std::swap(record.sizeHigh, record.sizeLow); // as the worker expects them
    }
    bool applying = false;
    const QDir nowhere(QStringLiteral("/dev/null/installation"));
    CDownloadThread worker(arguments.value(1), QDir(arguments.value(3)), nowhere, records);
    QObject::connect(&worker, &CDownloadThread::downloadFail, &app, [&](const QFileInfo &file) {
        applying = file.filePath().startsWith(nowhere.path());
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    (void)std::puts(worker.errormsg().toUtf8().constData());
    return applying ? 0 : 1;
}
