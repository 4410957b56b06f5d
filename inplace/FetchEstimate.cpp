// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/FetchEstimate.h"

#include "inplace/TreeHash.h"
#include "release/Descriptor.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <fcntl.h>

namespace {

bool IsRight(const QString &path, const ManifestFile &file)
{
    const Descriptor open(::open(QFile::encodeName(path).constData(),
                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return open.isOpen() && HasContent(open.number(), file);
}

} // namespace

FetchEstimate EstimateFetch(const QString &install, const Candidate &candidate,
                            const InstalledRelease &installed)
{
    QHash<QString, QByteArray> known;
    if (const ReleaseManifest *listed = installed.known()) {
        for (const ManifestFile &file : listed->files) {
            known.insert(file.path, file.md5 + file.sha256);
        }
    }
    FetchEstimate estimate;
    for (const ManifestFile &file : candidate.manifest.files) {
        const QFileInfo there(install + QLatin1Char('/') + file.path);
        bool isRight = there.isFile() && static_cast<quint64>(there.size()) == file.size;
        if (isRight) {
            const auto listed = known.constFind(file.path);
            isRight = listed != known.cend() ? *listed == file.md5 + file.sha256
                                             : IsRight(there.filePath(), file);
        }
        if (!isRight) {
            ++estimate.files;
            estimate.bytes += static_cast<qint64>(file.size);
        }
    }
    return estimate;
}
