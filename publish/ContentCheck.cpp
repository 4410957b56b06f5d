// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ContentCheck.h"

#include "publish/ProgressBar.h"
#include "release/Workers.h"

#include <atomic>
#include <mutex>

QStringList CheckFiles(const std::vector<ManifestFile> &files, int threads,
                       const std::function<FileReason()> &onThread)
{
    const int count = static_cast<int>(files.size());
    Tickets tickets(count);
    std::atomic<int> done{0};
    std::mutex mutex;
    QStringList problems;
    const auto checkFiles = [&] {
        const FileReason reasonFor = onThread();
        for (int ticket = tickets.take(); ticket >= 0; ticket = tickets.take()) {
            const ManifestFile &file = files.at(static_cast<std::size_t>(ticket));
            const QString reason = reasonFor(file);
            if (!reason.isEmpty()) {
                const std::lock_guard<std::mutex> guard(mutex);
                problems.append(QStringLiteral("%1: %2.").arg(file.path, reason));
            }
            ++done;
        }
    };
    ProgressBar bar;
    RunWorkers(threads, checkFiles, [&] {
        bar.show(done, count,
                 QStringLiteral("%1 of %2 files checked")
                     .arg(QString::number(done), QString::number(count)));
    });
    problems.sort();
    return problems;
}

QString OtherContentReason(const ManifestFile &file, const FileDigests &digests)
{
    if (digests.size != file.size) {
        return QStringLiteral("it has %1 bytes instead of %2")
            .arg(QString::number(digests.size), QString::number(file.size));
    }
    const auto other = [](const QString &kind, const QByteArray &is, const QByteArray &listed) {
        return QStringLiteral("its %1 is %2 instead of %3")
            .arg(kind, QString::fromLatin1(is), QString::fromLatin1(listed));
    };
    if (digests.md5 != file.md5) {
        return other(QStringLiteral("MD5 text"), digests.md5, file.md5);
    }
    if (!file.sha256.isEmpty() && digests.sha256 != file.sha256) {
        return other(QStringLiteral("SHA-256"), digests.sha256, file.sha256);
    }
    return {};
}
