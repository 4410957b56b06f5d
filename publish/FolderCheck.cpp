// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/FolderCheck.h"

#include "app/FileNames.h"
#include "publish/ContentCheck.h"
#include "release/ReleaseSignature.h"

#include <QFile>
#include <QSet>
#include <QThread>

#include <filesystem>

namespace fs = std::filesystem;

namespace {

/// Returns what is wrong with a file below \a folder, which ends with a separator.
QString FileProblem(const QString &folder, const ManifestFile &file)
{
    FileDigests digests;
    const QString reason = ReadDigests(folder + file.path, DigestKinds::Sha256AndMd5, digests);
    return reason.isEmpty() ? OtherContentReason(file, digests) : reason;
}

/// The paths that belong to a release: its files, the folders above them, manifest and signature.
QSet<QString> KnownPaths(const std::vector<ManifestFile> &files)
{
    QSet<QString> paths{LOCAL_MD5_FILENAME, SIGNATURE_FILENAME};
    for (const ManifestFile &file : files) {
        QString path = file.path;
        while (!path.isEmpty() && !paths.contains(path)) {
            paths.insert(path);
            path = path.section(QLatin1Char('/'), 0, -2);
        }
    }
    return paths;
}

QStringList Extras(const QString &folder, const std::vector<ManifestFile> &files)
{
    const QSet<QString> known = KnownPaths(files);
    QStringList extras;
    const fs::path root(QFile::encodeName(folder).toStdString());
    std::error_code error;
    fs::recursive_directory_iterator at(root, error);
    for (; !error && at != fs::recursive_directory_iterator(); at.increment(error)) {
        const QString path =
            QString::fromStdString(at->path().lexically_relative(root).generic_string());
        if (!known.contains(path)) {
            extras.append(QStringLiteral("%1: it is not in the manifest.").arg(path));
        }
    }
    if (error) {
        extras.append(QStringLiteral("\"%1\" cannot be read: %2.")
                          .arg(folder, QString::fromStdString(error.message())));
    }
    extras.sort();
    return extras;
}

} // namespace

FolderState CheckFolder(const QString &folder, const ReleaseManifest &manifest)
{
    const QString path = folder + QLatin1Char('/');
    const FileReason reason = [&path](const ManifestFile &file) { return FileProblem(path, file); };
    return {CheckFiles(manifest.files, QThread::idealThreadCount(), [&reason] { return reason; }),
            Extras(folder, manifest.files)};
}
