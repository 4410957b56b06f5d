// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ReleaseScan.h"

#include "release/Formats.h"
#include "release/ReleasePaths.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

// The standard library walks here, not the toolkit: that one passes over names that are not UTF-8
// without a word, and the release would lack them.

QString Text(const fs::path &path)
{
    return QString::fromStdString(path.generic_string());
}

QString Text(const std::error_code &error)
{
    return QString::fromStdString(error.message());
}

QString NotLookedAt(const QString &path, const std::error_code &error)
{
    return QStringLiteral("\"%1\" cannot be looked at: %2.").arg(path, Text(error));
}

void AddFile(const fs::directory_entry &entry, const QString &path, ReleaseContents &contents)
{
    const QString reason = UnsafePathReason(path);
    if (!reason.isEmpty()) {
        contents.problems.append(
            QStringLiteral("\"%1\" cannot be published: %2.").arg(path, reason));
        return;
    }
    std::error_code error;
    const auto size = static_cast<qint64>(entry.file_size(error));
    if (error) {
        contents.problems.append(NotLookedAt(path, error));
    } else if (size >= TooLargeSize) {
        contents.problems.append(
            QStringLiteral("\"%1\" cannot be published: files %2 cannot be updated.")
                .arg(path, TooLargeText));
    } else {
        contents.files.append({path, size});
    }
}

void AddEntry(const fs::directory_entry &entry, const QString &path, ReleaseContents &contents)
{
    std::error_code error;
    switch (entry.symlink_status(error).type()) {
    case fs::file_type::regular:
        AddFile(entry, path, contents);
        return;
    case fs::file_type::directory:
        return;
    case fs::file_type::symlink:
        contents.links.append(QStringLiteral("\"%1\" -> \"%2\"")
                                  .arg(path, Text(fs::read_symlink(entry.path(), error))));
        return;
    case fs::file_type::none:
        contents.problems.append(NotLookedAt(path, error));
        return;
    default:
        contents.problems.append(
            QStringLiteral("\"%1\" cannot be published: it is no regular file.").arg(path));
    }
}

} // namespace

ReleaseContents ScanRelease(const QString &folder)
{
    ReleaseContents contents;
    const fs::path root(folder.toStdString());
    std::error_code error;
    fs::recursive_directory_iterator at(root, error);
    fs::path here = root;
    while (!error && at != fs::recursive_directory_iterator()) {
        here = at->path();
        AddEntry(*at, Text(here.lexically_relative(root)), contents);
        at.increment(error);
    }
    if (error) {
        contents.problems.append(
            QStringLiteral("The release cannot be looked through at \"%1\": %2.")
                .arg(Text(here), Text(error)));
    } else if (contents.files.isEmpty() && contents.problems.isEmpty()) {
        contents.problems.append(QStringLiteral("The release holds no files."));
    }
    std::sort(contents.files.begin(), contents.files.end(),
              [](const ReleaseFile &a, const ReleaseFile &b) { return a.path < b.path; });
    contents.links.sort();
    contents.problems.sort();
    QStringList paths;
    for (const ReleaseFile &file : qAsConst(contents.files)) {
        paths.append(file.path);
    }
    const QString collision = CollisionReason(paths);
    if (!collision.isEmpty()) {
        contents.problems.append(
            QStringLiteral("The release cannot be published: %1.").arg(collision));
    }
    return contents;
}
