// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/ReleaseScan.h"

#include "publish/EntryCheck.h"
#include "publish/TreeCheck.h"
#include "release/Formats.h"
#include "release/ReleasePaths.h"
#include "release/SystemCalls.h"

#include <QSet>

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

constexpr int PermissionBits = 07777;
constexpr int UsualFolderMode = 0755;

// Walk with the standard library: Qt silently skips names that are not UTF-8, and the release would
// lack them.

QString Text(const fs::path &path)
{
    return QString::fromStdString(path.generic_string());
}

QString Text(const std::error_code &error)
{
    return QString::fromStdString(error.message());
}

/// One scan of a release.
class Scan {
public:
    explicit Scan(const QString &folder) : m_root(folder.toStdString()) {}

    ReleaseContents run()
    {
        walk();
        if (m_contents.files.isEmpty() && m_contents.problems.isEmpty()) {
            m_contents.problems.append(QStringLiteral("The release holds no files."));
        }
        sort();
        addCollisions();
        m_contents.problems.sort();
        return std::move(m_contents);
    }

private:
    void walk()
    {
        std::error_code error;
        fs::recursive_directory_iterator at(m_root, error);
        fs::path here = m_root;
        while (!error && at != fs::recursive_directory_iterator()) {
            here = at->path();
            add(here, Text(here.lexically_relative(m_root)));
            at.increment(error);
        }
        if (error) {
            m_contents.problems.append(QStringLiteral("The release cannot be read at \"%1\": %2.")
                                           .arg(Text(here), Text(error)));
        }
    }

    void add(const fs::path &entry, const QString &path)
    {
        struct stat status {};
        if (::lstat(entry.c_str(), &status) != 0) {
            m_contents.problems.append(
                QStringLiteral("\"%1\" cannot be read: %2.").arg(path, SystemError()));
            return;
        }
        m_filled.insert(path.section(QLatin1Char('/'), 0, -2));
        const bool isLink = S_ISLNK(status.st_mode);
        if (!isLink && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
            refuse(path, QStringLiteral("it is not a regular file"));
            return;
        }
        QString reason = UnsafePathReason(path);
        if (reason.isEmpty() && !isLink) {
            reason = ModeReason(status.st_mode);
        }
        if (!reason.isEmpty()) {
            refuse(path, reason);
        } else if (isLink) {
            addLink(entry, path);
        } else if (S_ISREG(status.st_mode)) {
            addFile(entry, path, status);
        } else {
            m_folders.append(path);
            m_contents.folders.push_back({path, static_cast<int>(status.st_mode & PermissionBits)});
        }
    }

    void addFile(const fs::path &entry, const QString &path, const struct stat &status)
    {
        if (status.st_size >= TooLargeSize) {
            refuse(path, QStringLiteral("files %1 cannot be updated").arg(TooLargeText));
            return;
        }
        const QString reason = AttributeReason(entry);
        if (!reason.isEmpty()) {
            refuse(path, reason);
            return;
        }
        m_contents.files.append({path, static_cast<qint64>(status.st_size),
                                 static_cast<int>(status.st_mode & PermissionBits),
                                 LastChange(status)});
    }

    void addLink(const fs::path &entry, const QString &path)
    {
        std::error_code error;
        const fs::path target = fs::read_symlink(entry, error);
        if (error) {
            m_contents.problems.append(
                QStringLiteral("\"%1\" cannot be read: %2.").arg(path, Text(error)));
            return;
        }
        m_contents.links.push_back({path, QString::fromStdString(target.string())});
    }

    void refuse(const QString &path, const QString &reason)
    {
        m_contents.problems.append(
            QStringLiteral("\"%1\" cannot be published: %2.").arg(path, reason));
    }

    /// Sorts everything and keeps only the folders that a manifest lists.
    void sort()
    {
        const auto byPath = [](const auto &a, const auto &b) { return a.path < b.path; };
        std::sort(m_contents.files.begin(), m_contents.files.end(), byPath);
        std::sort(m_contents.links.begin(), m_contents.links.end(), byPath);
        auto &folders = m_contents.folders;
        folders.erase(std::remove_if(folders.begin(), folders.end(),
                                     [this](const ManifestFolder &folder) {
                                         return folder.mode == UsualFolderMode &&
                                                m_filled.contains(folder.path);
                                     }),
                      folders.end());
        std::sort(folders.begin(), folders.end(), byPath);
    }

    void addCollisions()
    {
        m_folders.sort();
        const QStringList reasons = TreeProblems(m_contents.files, m_contents.links, m_folders);
        for (const QString &reason : reasons) {
            m_contents.problems.append(
                QStringLiteral("The release cannot be published: %1.").arg(reason));
        }
    }

    const fs::path m_root;
    ReleaseContents m_contents;
    QStringList m_folders;
    QSet<QString> m_filled; ///< folders that hold something
};

} // namespace

ReleaseContents ScanRelease(const QString &folder)
{
    return Scan(folder).run();
}

bool IsUnchanged(const ReleaseContents &before, const ReleaseContents &after)
{
    const auto sameFile = [](const ReleaseFile &a, const ReleaseFile &b) {
        return a.path == b.path && a.size == b.size && a.mode == b.mode && a.changed == b.changed;
    };
    const auto sameLink = [](const ManifestLink &a, const ManifestLink &b) {
        return a.path == b.path && a.target == b.target;
    };
    const auto sameFolder = [](const ManifestFolder &a, const ManifestFolder &b) {
        return a.path == b.path && a.mode == b.mode;
    };
    return std::equal(before.files.begin(), before.files.end(), after.files.begin(),
                      after.files.end(), sameFile) &&
           std::equal(before.links.begin(), before.links.end(), after.links.begin(),
                      after.links.end(), sameLink) &&
           std::equal(before.folders.begin(), before.folders.end(), after.folders.begin(),
                      after.folders.end(), sameFolder) &&
           before.problems == after.problems;
}
