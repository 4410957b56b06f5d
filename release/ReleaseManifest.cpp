// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/ReleaseManifest.h"

#include "release/Formats.h"
#include "release/ManifestReader.h"
#include "release/ReleasePaths.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int AllowedBits = 0755;
constexpr int OwnerReads = 0400;
constexpr int OwnerEnters = 0100;

QByteArray ModeField(int mode)
{
    return QByteArray::number(mode, 8).rightJustified(4, '0');
}

QByteArray Fields(const QByteArray &one, const QByteArray &two)
{
    return one + '\t' + two + '\n';
}

QByteArray Fields(const QByteArray &one, const QByteArray &two, const QByteArray &three)
{
    return one + '\t' + Fields(two, three);
}

QByteArray Fields(const QByteArray &one, const QByteArray &two, const QByteArray &three,
                  const QByteArray &four)
{
    return one + '\t' + Fields(two, three, four);
}

QByteArray HeadLines(const ReleaseManifest &manifest)
{
    QByteArray lines = Fields("@release", QByteArray::number(manifest.version),
                              manifest.folder.toUtf8(), manifest.versionString.toUtf8());
    if (!manifest.application.isEmpty()) {
        lines += Fields("@application", manifest.application.toUtf8());
    }
    lines += Fields("@minimum", QByteArray::number(manifest.minVersion));
    if (!manifest.page.isEmpty()) {
        lines += Fields("@page", manifest.page.toUtf8());
    }
    return lines;
}

QByteArray FileLines(const ManifestFile &file, const QByteArray &path, bool isComplete)
{
    const QByteArray line = Fields(file.md5, QByteArray::number(file.size, 16), path);
    return isComplete ? line + Fields("@file", file.sha256, ModeField(file.mode), path) : line;
}

/// The lines of one path, after the path.
using PathLines = std::pair<QByteArray, QByteArray>;

/// Returns why an old manifest, which lists files only, is refused for lines that begin with '@'.
QString OldManifestReason(Bytes content)
{
    const auto isKnown = [](Bytes name) {
        return name.substr(0, 2) == "@!" || name == "@release" || name == "@application" ||
               name == "@minimum" || name == "@page" || name == "@file" || name == "@link" ||
               name == "@folder";
    };
    for (int number = 1; !content.empty(); ++number) {
        const Bytes line = content.substr(0, content.find('\n'));
        content.remove_prefix(std::min(line.size() + 1, content.size()));
        if (line.substr(0, 1) != "@") {
            continue;
        }
        const Bytes name = line.substr(0, line.find('\t'));
        if (isKnown(name)) {
            return AtLine(number, QStringLiteral("the manifest does not begin with @release"));
        }
        if (std::count(line.begin(), line.end(), '\t') == 2) {
            return AtLine(number, QStringLiteral("it begins with '@' and has three fields"));
        }
    }
    return {};
}

QString ReadOldManifest(const QByteArray &content, ReleaseManifest &manifest)
{
    const QMap<QString, tagDownloadFileInfo> records = ParseMd5File(content);
    if (records.isEmpty()) {
        return QStringLiteral("line 1: the manifest lists no file");
    }
    if (records.size() > MostManifestPaths) {
        return QStringLiteral("it lists more than %1 paths").arg(MostManifestPaths);
    }
    for (const tagDownloadFileInfo &record : records) {
        if (const QString reason = UnsafePathReason(record.path); !reason.isEmpty()) {
            return QStringLiteral("path \"%1\": %2").arg(record.path, reason);
        }
        if (FileSize(record) >= static_cast<quint64>(TooLargeSize)) {
            return QStringLiteral("path \"%1\": files %2 cannot be updated")
                .arg(record.path, TooLargeText);
        }
        manifest.files.push_back({record.path, FileSize(record), record.md5, {}, 0});
    }
    std::sort(manifest.files.begin(), manifest.files.end(), [](const auto &one, const auto &other) {
        return one.path.toUtf8() < other.path.toUtf8();
    });
    return CollisionReason(records.keys());
}

/// Names the line with a byte that no manifest may have.
QString ForbiddenByteReason(Bytes content)
{
    std::size_t found = Bytes::npos;
    for (const char byte : {'\r', '\0', '\\'}) {
        found = std::min(found, content.find(byte));
    }
    if (found == Bytes::npos) {
        return {};
    }
    const auto line = std::count(content.begin(), content.begin() + found, '\n') + 1;
    return AtLine(static_cast<int>(line), QStringLiteral("it contains a CR, NUL or backslash"));
}

} // namespace

QByteArray ManifestContent(const ReleaseManifest &manifest)
{
    std::vector<PathLines> paths;
    paths.reserve(manifest.files.size() + manifest.links.size() + manifest.folders.size());
    for (const ManifestFile &file : manifest.files) {
        const QByteArray path = file.path.toUtf8();
        paths.emplace_back(path, FileLines(file, path, manifest.isComplete));
    }
    if (manifest.isComplete) {
        for (const ManifestLink &link : manifest.links) {
            const QByteArray path = link.path.toUtf8();
            paths.emplace_back(path, Fields("@link", link.target.toUtf8(), "-", path));
        }
        for (const ManifestFolder &folder : manifest.folders) {
            const QByteArray path = folder.path.toUtf8();
            paths.emplace_back(path, Fields("@folder", ModeField(folder.mode), "-", path));
        }
    }
    std::sort(paths.begin(), paths.end());
    QByteArray content = manifest.isComplete ? HeadLines(manifest) : QByteArray();
    for (const PathLines &path : paths) {
        content += path.second;
    }
    return content;
}

QString ReadManifest(const QByteArray &content, ReleaseManifest &manifest)
{
    manifest = {};
    const Bytes bytes(content.constData(), static_cast<std::size_t>(content.size()));
    if (content.size() >= TooLargeManifest) {
        return QStringLiteral("it has %1 bytes, which is too long").arg(content.size());
    }
    const Bytes first = bytes.substr(0, bytes.find('\n'));
    if (first.substr(0, first.find('\t')) == "@release") {
        const QString reason = ForbiddenByteReason(bytes);
        return reason.isEmpty() ? ManifestReader(bytes, manifest).read() : reason;
    }
    const QString reason = OldManifestReason(bytes);
    return reason.isEmpty() ? ReadOldManifest(content, manifest) : reason;
}

bool ReadManifestHead(const QByteArray &content, ReleaseManifest &manifest)
{
    manifest = {};
    const Bytes bytes(content.constData(), static_cast<std::size_t>(content.size()));
    return ManifestReader(bytes, manifest).readHead().isEmpty() && manifest.isComplete;
}

tagDownloadFileInfo ManifestRecord(const ManifestFile &file)
{
    return {file.path, static_cast<quint32>(file.size >> 32U), static_cast<quint32>(file.size),
            file.md5};
}

QString FileModeReason(int mode)
{
    if ((mode & ~AllowedBits) != 0) {
        return QStringLiteral("mode %1 lets others than the owner write, or has a set-user-ID, "
                              "set-group-ID or sticky bit")
            .arg(QString::fromLatin1(ModeField(mode)));
    }
    if ((mode & OwnerReads) == 0) {
        return QStringLiteral("mode %1 does not let the owner read")
            .arg(QString::fromLatin1(ModeField(mode)));
    }
    return {};
}

QString FolderModeReason(int mode)
{
    if (QString reason = FileModeReason(mode); !reason.isEmpty()) {
        return reason;
    }
    return (mode & OwnerEnters) != 0 ? QString()
                                     : QStringLiteral("mode %1 does not let the owner enter")
                                           .arg(QString::fromLatin1(ModeField(mode)));
}
