// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/OutputFolder.h"

#include "app/FileNames.h"
#include "publish/PublishChecks.h"
#include "publish/VersionCheck.h"
#include "release/ReleasePaths.h"
#include "release/ReleaseSignature.h"
#include "release/ReleaseSource.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace {

/// Guesses the version of an old release, whose manifest does not contain it.
void GuessVersion(const PublishedDescription &announced, ListedRelease &release)
{
    if (release.isAnnounced) {
        release.version = announced.versionString;
        release.number = announced.version;
        release.hasVersion = true;
    } else {
        release.version = release.folder;
        release.number = NumberOf(release.folder);
        release.hasVersion = NotAVersionReason(release.folder).isEmpty();
    }
}

ListedRelease ReadRelease(const QDir &output, const QString &folder, const OutputState &state)
{
    ListedRelease release;
    release.folder = folder;
    release.isAnnounced = state.hasAnnouncement && state.announced.folder == folder;
    release.isAlmostAnnounced = state.hasAnnouncement && !release.isAnnounced &&
                                FoldedPath(state.announced.folder) == FoldedPath(folder);
    const QString path = output.filePath(folder) + QLatin1Char('/');
    release.isSigned = QFileInfo(path + SIGNATURE_FILENAME).isFile();
    release.published = QFileInfo(path + LOCAL_MD5_FILENAME).lastModified();
    QByteArray content;
    release.problem = ReadManifestFile(output.path(), folder, content, release.manifest);
    if (release.problem.isEmpty() && release.manifest.isComplete) {
        release.version = release.manifest.versionString;
        release.number = release.manifest.version;
        release.hasVersion = true;
    } else {
        GuessVersion(state.announced, release);
    }
    return release;
}

bool IsNewer(const ListedRelease &a, const ListedRelease &b)
{
    if (a.hasVersion != b.hasVersion) {
        return a.hasVersion;
    }
    if (a.number != b.number) {
        return a.number > b.number;
    }
    return a.published != b.published ? a.published > b.published : a.folder > b.folder;
}

} // namespace

quint64 ListedRelease::bytes() const
{
    quint64 sum = 0;
    for (const ManifestFile &file : manifest.files) {
        sum += file.size;
    }
    return sum;
}

QString ReadManifestFile(const QString &outputDir, const QString &folder, QByteArray &content,
                         ReleaseManifest &manifest)
{
    const ReleaseFault fault = FolderSource(outputDir).read(
        folder + QLatin1Char('/') + LOCAL_MD5_FILENAME, TooLargeManifest, content);
    return fault.isNone() ? ReadManifest(content, manifest) : fault.detail;
}

OutputState ReadOutput(const QString &outputDir)
{
    const QDir output(outputDir);
    OutputState state;
    QByteArray content;
    const ReleaseFault fault =
        FolderSource(outputDir).read(UPDATE_DESCRIBE_FILENAME, LongestDescription, content);
    state.hasAnnouncement = fault.kind != ReleaseFault::Kind::Missing;
    if (state.hasAnnouncement) {
        state.announcementProblems = fault.isNone() ? DescriptionProblems(content, state.announced)
                                                    : QStringList{fault.detail};
    }
    const QStringList names =
        output.entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot | QDir::NoSymLinks);
    for (const QString &name : names) {
        const QString manifest = output.filePath(name) + QLatin1Char('/') + LOCAL_MD5_FILENAME;
        if (FolderReason(name).isEmpty() && QFileInfo(manifest).isFile()) {
            state.releases.push_back(ReadRelease(output, name, state));
        }
    }
    std::sort(state.releases.begin(), state.releases.end(), IsNewer);
    return state;
}
