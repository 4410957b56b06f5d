// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeList.h"

#include "release/SystemCalls.h"

#include <QFile>
#include <QObject>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

struct FolderCloser {
    void operator()(DIR *folder) const { (void)::closedir(folder); }
};

EntryKind KindOf(const struct stat &about)
{
    if (S_ISREG(about.st_mode)) {
        return EntryKind::File;
    }
    if (S_ISDIR(about.st_mode)) {
        return EntryKind::Folder;
    }
    return S_ISLNK(about.st_mode) ? EntryKind::Link : EntryKind::Other;
}

bool IsDots(const char *name)
{
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

class Lister {
public:
    explicit Lister(TreeEntries &entries) : m_entries(entries) {}

    /// Lists the open folder and closes it. False with the reason in errno; then bad() is the path
    /// that cannot be read.
    bool list(int handle, const QByteArray &prefix);
    QByteArray bad() const { return m_bad; }

private:
    /// False with the reason in errno.
    bool add(int folder, const char *name, const QByteArray &path);

    TreeEntries &m_entries;
    QByteArray m_bad;
};

bool Lister::list(int handle, const QByteArray &prefix)
{
    const std::unique_ptr<DIR, FolderCloser> folder(handle < 0 ? nullptr : ::fdopendir(handle));
    if (!folder) {
        m_bad = prefix;
        return false;
    }
    errno = 0;
    while (const dirent *found = ::readdir(folder.get())) {
        // A running application's own files may disappear meanwhile.
        if (!IsDots(found->d_name) && !add(handle, found->d_name, prefix + found->d_name) &&
            errno != ENOENT) {
            return false;
        }
        errno = 0;
    }
    return errno == 0;
}

bool Lister::add(int folder, const char *name, const QByteArray &path)
{
    TreeEntry entry;
    entry.path = path;
    m_bad = path;
    if (::fstatat(folder, name, &entry.about, AT_SYMLINK_NOFOLLOW) != 0) {
        return false;
    }
    entry.kind = KindOf(entry.about);
    if (entry.kind == EntryKind::Link) {
        std::array<char, PATH_MAX> target{};
        const ssize_t length = ::readlinkat(folder, name, target.data(), target.size());
        if (length < 0) {
            return false;
        }
        entry.target = QByteArray(target.data(), static_cast<int>(length));
    }
    const bool isFolder = entry.kind == EntryKind::Folder;
    m_entries.push_back(std::move(entry));
    if (!isFolder) {
        return true;
    }
    const int below = ::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    return below >= 0 && list(below, path + '/');
}

} // namespace

QString ListTree(const QByteArray &root, TreeEntries &entries)
{
    entries.clear();
    const int handle = ::open(root.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    Lister lister(entries);
    if (!lister.list(handle, {})) {
        const QString reason = SystemError();
        return QObject::tr("%1无法读取:%2")
            .arg(QFile::decodeName(root + '/' + lister.bad()), reason);
    }
    std::sort(entries.begin(), entries.end(),
              [](const TreeEntry &one, const TreeEntry &other) { return one.path < other.path; });
    return {};
}

const TreeEntry *FindEntry(const TreeEntries &entries, const QByteArray &path)
{
    const auto found = std::lower_bound(
        entries.cbegin(), entries.cend(), path,
        [](const TreeEntry &entry, const QByteArray &wanted) { return entry.path < wanted; });
    return found != entries.cend() && found->path == path ? &*found : nullptr;
}
