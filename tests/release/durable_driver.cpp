// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/DurableFile.h"
#include "release/FileDigests.h"

#include <QFile>
#include <QStringList>

#include <cstdio>

/// durable_driver write PATH SCRATCH CONTENT, sync FOLDER PATH..., or digest FILE: makes one call
/// and prints its result.
int main(int argc, char *argv[])
{
    QStringList arguments;
    for (int number = 1; number < argc; ++number) {
        arguments.append(QFile::decodeName(argv[number]));
    }
    QString reason = QStringLiteral("bad usage");
    if (arguments.value(0) == QLatin1String("write")) {
        reason =
            WriteDurably(arguments.value(1), arguments.value(2), arguments.value(3).toUtf8(), 0644);
    } else if (arguments.value(0) == QLatin1String("sync")) {
        std::vector<QByteArray> paths;
        for (const QString &path : arguments.mid(2)) {
            paths.push_back(QFile::encodeName(path));
        }
        reason = SyncTree(arguments.value(1), paths);
    } else if (arguments.value(0) == QLatin1String("digest")) {
        FileDigests digests;
        reason = ReadDigests(arguments.value(1), DigestKinds::Sha256AndMd5, digests);
    }
    (void)std::printf("%s", reason.toUtf8().constData());
    return 0;
}
