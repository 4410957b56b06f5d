// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeList.h"

#include "inplace/FolderChain.h"
#include "release/SystemCalls.h"
#include "release/Workers.h"

#include <QFile>
#include <QObject>
#include <QThread>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <unistd.h>

namespace {

struct FolderCloser {
    void operator()(DIR *folder) const { (void)::closedir(folder); }
};

EntryKind KindOf(mode_t mode)
{
    if (S_ISREG(mode)) {
        return EntryKind::File;
    }
    if (S_ISDIR(mode)) {
        return EntryKind::Folder;
    }
    return S_ISLNK(mode) ? EntryKind::Link : EntryKind::Other;
}

bool IsDots(const char *name)
{
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

/// Whether an entry has disappeared: a running application's own files may, at any time.
bool HasGone()
{
    return errno == ENOENT || errno == ENOTDIR;
}

class Lister {
public:
    explicit Lister(TreeNames &names) : m_names(names) {}

    /// Lists the open folder and closes it. False with the reason in errno; then bad() is the path
    /// that cannot be read.
    bool list(int handle, const QByteArray &prefix);
    QByteArray bad() const { return m_bad; }

private:
    /// False with the reason in errno.
    bool add(int folder, const dirent &found, const QByteArray &path);

    TreeNames &m_names;
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
        if (!IsDots(found->d_name) && !add(handle, *found, prefix + found->d_name) && !HasGone()) {
            return false;
        }
        errno = 0;
    }
    return errno == 0;
}

bool Lister::add(int folder, const dirent &found, const QByteArray &path)
{
    m_bad = path;
    mode_t type = DTTOIF(found.d_type);
    if (found.d_type == DT_UNKNOWN) { // a volume that does not tell
        struct stat about {};
        if (::fstatat(folder, found.d_name, &about, AT_SYMLINK_NOFOLLOW) != 0) {
            return false;
        }
        type = about.st_mode;
    }
    const EntryKind kind = KindOf(type);
    m_names.push_back({path, kind, found.d_ino});
    if (kind != EntryKind::Folder) {
        return true;
    }
    const int below =
        ::openat(folder, found.d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    return below >= 0 && list(below, path + '/');
}

QString ListProblem(const QByteArray &root, const QByteArray &path)
{
    const QString reason = SystemError();
    return QObject::tr("%1无法读取:%2").arg(QFile::decodeName(root + '/' + path), reason);
}

/// Asks for all entries with all processors; those that have gone become paths without text.
/// Returns why that cannot be done, or empty text.
QString LookAtAll(const QByteArray &root, TreeEntries &entries)
{
    constexpr std::size_t AtOnce = 64;
    Tickets tickets(static_cast<int>((entries.size() + AtOnce - 1) / AtOnce));
    std::mutex mutex;
    QString problem;
    const auto work = [&] {
        FolderChain chain(root);
        for (int ticket = tickets.take(); ticket >= 0; ticket = tickets.take()) {
            const std::size_t begin = static_cast<std::size_t>(ticket) * AtOnce;
            const std::size_t end = std::min(begin + AtOnce, entries.size());
            for (std::size_t index = begin; index < end; ++index) {
                if (LookAt(chain, entries[index])) {
                    continue;
                }
                if (!HasGone()) {
                    const std::lock_guard<std::mutex> lock(mutex);
                    problem = ListProblem(root, entries[index].path);
                    tickets.stop();
                }
                entries[index].path.clear();
            }
        }
    };
    RunWorkers(entries.size() > AtOnce ? QThread::idealThreadCount() : 0, work, [] {});
    return problem;
}

} // namespace

QString ListNames(const QByteArray &root, TreeNames &names)
{
    names.clear();
    const int handle = ::open(root.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    Lister lister(names);
    if (!lister.list(handle, {})) {
        return ListProblem(root, lister.bad());
    }
    std::sort(names.begin(), names.end(),
              [](const TreeName &one, const TreeName &other) { return one.path < other.path; });
    return {};
}

QString ListTree(const QByteArray &root, TreeEntries &entries)
{
    entries.clear();
    TreeNames names;
    QString reason = ListNames(root, names);
    if (!reason.isEmpty()) {
        return reason;
    }
    entries.resize(names.size());
    for (std::size_t index = 0; index < names.size(); ++index) {
        entries[index].path = names[index].path;
    }
    reason = LookAtAll(root, entries);
    entries.erase(std::remove_if(entries.begin(), entries.end(),
                                 [](const TreeEntry &entry) { return entry.path.isEmpty(); }),
                  entries.end());
    return reason;
}

bool LookAt(FolderChain &tree, TreeEntry &entry)
{
    const QByteArray name = NameOf(entry.path);
    const int folder = tree.openParent(entry.path);
    if (folder < 0 || ::fstatat(folder, name.constData(), &entry.about, AT_SYMLINK_NOFOLLOW) != 0) {
        return false;
    }
    entry.kind = KindOf(entry.about.st_mode);
    if (entry.kind != EntryKind::Link) {
        return true;
    }
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlinkat(folder, name.constData(), target.data(), target.size());
    if (length >= 0) {
        entry.target = QByteArray(target.data(), static_cast<int>(length));
    }
    return length >= 0;
}

const TreeEntry *FindEntry(const TreeEntries &entries, const QByteArray &path)
{
    const auto found = std::lower_bound(
        entries.cbegin(), entries.cend(), path,
        [](const TreeEntry &entry, const QByteArray &wanted) { return entry.path < wanted; });
    return found != entries.cend() && found->path == path ? &*found : nullptr;
}
