// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/Verify.h"

#include "app/FileNames.h"
#include "core/Func.h"
#include "publish/ByteBudget.h"
#include "publish/ProgressBar.h"
#include "release/Formats.h"
#include "release/Messages.h"
#include "release/ReleasePaths.h"
#include "release/Workers.h"

#include <QNetworkProxyFactory>

#include <atomic>
#include <cstdlib>
#include <mutex>

namespace {

constexpr int Connections = 4;
constexpr quint64 BytesAtOnce = 0x4000000; // of bodies, each of which is held twice on its way
constexpr quint64 OneDay = 86400;
constexpr quint64 SlowestBytesPerSecond = 0x10000;

/// Fetches a whole body with a GET request. Returns what is wrong, or empty text.
QString Fetch(QNetworkAccessManager &manager, const QString &url, qint32 seconds, QByteArray &body)
{
    QString error;
    if (GetFileByUrl(manager, url, body, error, seconds, {}, "GET", {}, nullptr)) {
        return {};
    }
    const int status = error.section(QStringLiteral(",status="), -1).toInt();
    if (status >= 300 && status < 400 && status != 304) {
        return QStringLiteral("it is redirected, which no updater follows (status %1)").arg(status);
    }
    if (status == 404 || status == 410) {
        return QStringLiteral("it is missing (status %1)").arg(status);
    }
    return QStringLiteral("it cannot be fetched: %1").arg(error);
}

/// Whether the files of a manifest are served as it lists them; shared by the threads that ask.
class FileCheck {
public:
    FileCheck(QString baseUrl, const QList<tagDownloadFileInfo> &files, qint32 seconds)
        : m_baseUrl(std::move(baseUrl)), m_files(files), m_seconds(seconds), m_tickets(files.size())
    {
    }

    void run()
    {
        ProgressBar bar;
        RunWorkers(
            Connections, [this] { checkFiles(); },
            [this, &bar] {
                bar.show(m_done, m_files.size(),
                         QStringLiteral("%1 of %2 files checked")
                             .arg(QString::number(m_done), QString::number(m_files.size())));
            });
    }

    QStringList problems() const { return m_problems; }

private:
    void checkFiles()
    {
        QNetworkAccessManager manager;
        for (int ticket = m_tickets.take(); ticket >= 0; ticket = m_tickets.take()) {
            const tagDownloadFileInfo &file = m_files.at(ticket);
            const QString reason = fileReason(manager, file);
            if (!reason.isEmpty()) {
                const std::lock_guard<std::mutex> guard(m_mutex);
                m_problems.append(QStringLiteral("%1: %2.").arg(file.path, reason));
            }
            ++m_done;
        }
    }

    QString fileReason(QNetworkAccessManager &manager, const tagDownloadFileInfo &file)
    {
        const quint64 size = FileSize(file);
        const qint32 seconds =
            m_seconds + static_cast<qint32>(qMin<quint64>(size / SlowestBytesPerSecond, OneDay));
        const BudgetedBytes held(m_budget, size);
        QByteArray body;
        QString reason = Fetch(manager, m_baseUrl + file.path, seconds, body);
        if (!reason.isEmpty()) {
            return reason;
        }
        if (static_cast<quint64>(body.size()) != size) {
            return QStringLiteral("it has %1 bytes instead of %2")
                .arg(QString::number(body.size()), QString::number(size));
        }
        const QByteArray md5 = Md5Hash(body);
        if (md5 != file.md5) {
            return QStringLiteral("its MD5 text is %1 instead of %2")
                .arg(QString::fromLatin1(md5), QString::fromLatin1(file.md5));
        }
        return {};
    }

    const QString m_baseUrl;
    const QList<tagDownloadFileInfo> m_files;
    const qint32 m_seconds;
    Tickets m_tickets;
    ByteBudget m_budget{BytesAtOnce};
    std::atomic<int> m_done{0};
    std::mutex m_mutex;
    QStringList m_problems;
};

/// Fetches a text that must be right as a whole. Its problems are named after it.
QStringList FetchText(const QString &url, const QString &name, qint32 seconds, QByteArray &body)
{
    QNetworkAccessManager manager;
    const QString reason = Fetch(manager, url, seconds, body);
    return reason.isEmpty() ? QStringList()
                            : QStringList{QStringLiteral("%1: %2.").arg(name, reason)};
}

/// The files of a manifest that may be asked for.
QList<tagDownloadFileInfo> SafeFiles(const QByteArray &manifest)
{
    QList<tagDownloadFileInfo> files;
    const QMap<QString, tagDownloadFileInfo> records = ParseMd5File(manifest);
    for (const tagDownloadFileInfo &record : records) {
        if (UnsafePathReason(record.path).isEmpty() &&
            FileSize(record) < static_cast<quint64>(TooLargeSize)) {
            files.append(record);
        }
    }
    return files;
}

QStringList Named(const QString &name, const QStringList &problems)
{
    QStringList named;
    for (const QString &problem : problems) {
        named.append(QStringLiteral("%1: %2.").arg(name, problem));
    }
    return named;
}

} // namespace

int Verify(const QUrl &baseUrl, const VerifyTimeouts &timeouts)
{
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    const QString base = QString::fromLatin1(baseUrl.toEncoded()) + QLatin1Char('/');

    QByteArray content;
    QStringList problems = FetchText(base + UPDATE_DESCRIBE_FILENAME, UPDATE_DESCRIBE_FILENAME,
                                     timeouts.descriptionSeconds, content);
    if (!problems.isEmpty()) {
        return Refuse(problems);
    }
    PublishedDescription description;
    problems = Named(UPDATE_DESCRIBE_FILENAME, DescriptionProblems(content, description));
    if (!FolderReason(description.folder).isEmpty()) {
        return Refuse(problems);
    }

    const QString release = base + description.folder + QLatin1Char('/');
    const QString manifestName = description.folder + QLatin1Char('/') + LOCAL_MD5_FILENAME;
    const QStringList unfetched =
        FetchText(release + LOCAL_MD5_FILENAME, manifestName, timeouts.fileSeconds, content);
    if (!unfetched.isEmpty()) {
        return Refuse(problems + unfetched);
    }
    problems += Named(manifestName, ManifestProblems(content));

    const QList<tagDownloadFileInfo> files = SafeFiles(content);
    FileCheck check(release, files, timeouts.fileSeconds);
    check.run();
    QStringList fileProblems = check.problems();
    fileProblems.sort();
    problems += fileProblems;
    if (!problems.isEmpty()) {
        return Refuse(problems);
    }
    Say(QStringLiteral("All right: version %1 (%2) in \"%3\", %4 files.")
            .arg(description.versionString, QString::number(description.version),
                 description.folder, QString::number(files.size())));
    return EXIT_SUCCESS;
}
