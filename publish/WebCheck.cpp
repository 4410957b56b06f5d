// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/WebCheck.h"

#include "publish/ByteBudget.h"
#include "publish/ContentCheck.h"
#include "release/ReleaseSource.h"

#include <QThread>

#include <memory>

namespace {

constexpr int FewestConnections = 4; // latency matters even on one core
constexpr quint64 BytesAtOnce =
    0x4000000; // of bodies, each of which is in memory twice for a while
constexpr quint64 OneDay = 86400;
constexpr quint64 SlowestBytesPerSecond = 0x10000;

/// Fetches files of a release, on one thread.
class FileFetch {
public:
    FileFetch(const QString &baseUrl, const QString &folder, qint32 seconds, ByteBudget &budget)
        : m_source(baseUrl), m_folder(folder + QLatin1Char('/')), m_seconds(seconds),
          m_budget(budget)
    {
    }

    QString reason(const ManifestFile &file)
    {
        const auto seconds =
            m_seconds + static_cast<qint32>(qMin(file.size / SlowestBytesPerSecond, OneDay));
        m_source.setSeconds(seconds, seconds);
        const BudgetedBytes held(m_budget, file.size);
        QByteArray body;
        const ReleaseFault fault =
            m_source.read(m_folder + file.path, static_cast<qint64>(file.size), body);
        if (!fault.isNone()) {
            return fault.detail;
        }
        DigestMaker maker(DigestKinds::Sha256AndMd5);
        maker.add(body.constData(), static_cast<std::size_t>(body.size()));
        FileDigests digests;
        const QString reason = maker.finish(digests);
        return reason.isEmpty() ? OtherContentReason(file, digests) : reason;
    }

private:
    WebSource m_source;
    const QString m_folder;
    const qint32 m_seconds;
    ByteBudget &m_budget;
};

} // namespace

QStringList WebProblems(const QString &baseUrl, const QString &folder,
                        const ReleaseManifest &manifest, qint32 seconds)
{
    ByteBudget budget(BytesAtOnce);
    return CheckFiles(manifest.files, qMax(FewestConnections, QThread::idealThreadCount()), [&] {
        const auto fetch = std::make_shared<FileFetch>(baseUrl, folder, seconds, budget);
        return [fetch](const ManifestFile &file) { return fetch->reason(file); };
    });
}
