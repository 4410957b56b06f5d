// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "engine/DownloadThread.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

/// resume_staged STAGING INSTALL: resumes an update of 100,000 staged files and one that is not.
/// Prints the worker's message.
int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QDir staging(arguments.value(1));
    const QDir install(arguments.value(2));

    QList<tagDownloadFileInfo> records;
    tagDownloadFileInfo record;
    record.md5 = Md5Hash({});
    for (int i = 0; i < 1000; ++i) {
        record.path = QString::number(i);
        QFile file(staging.filePath(record.path));
        if (!file.open(QIODevice::WriteOnly)) {
            return 2;
        }
        records << record;
    }
    // Each is listed a hundred times: the depth is that of as many files, and the disk is spared.
    while (records.size() < 100000) {
        records << records.mid(0, 1000);
    }
    record.path = QStringLiteral("last");
    records << record;

    CDownloadThread worker(QStringLiteral("nothing://to.fetch/"), staging, install, records);
    QObject::connect(&worker, &CDownloadThread::downloadFail, &app, &QCoreApplication::quit);
    QCoreApplication::exec();
    (void)std::fputs(worker.errormsg().toUtf8().constData(), stdout);
    return 0;
}
