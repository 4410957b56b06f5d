// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "engine/DownloadThread.h"

#include <QCoreApplication>

#include <sys/resource.h>

/// destroy_running STAGING INSTALL: destroys a worker whose thread runs.
int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    const rlimit noCoreFile{0, 0};
    (void)setrlimit(RLIMIT_CORE, &noCoreFile); // without it only the disk suffers

    tagDownloadFileInfo record;
    record.path = QStringLiteral("file");
    CDownloadThread worker(QStringLiteral("http://127.0.0.1:9/"), QDir(app.arguments().value(1)),
                           QDir(app.arguments().value(2)), {record});
    worker.start();
    return 0;
}
