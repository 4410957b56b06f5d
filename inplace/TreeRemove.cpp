// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeRemove.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr mode_t OwnerMayAll = 0700;

struct FolderCloser {
    void operator()(DIR *folder) const { (void)::closedir(folder); }
};

bool RemoveAt(int folder, const char *name);

bool RemoveContent(int folder, const char *name)
{
    const int handle = ::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    const std::unique_ptr<DIR, FolderCloser> open(handle < 0 ? nullptr : ::fdopendir(handle));
    if (!open) {
        return false;
    }
    (void)::fchmod(handle, OwnerMayAll); // if this fails, so do the removals
    std::vector<QByteArray> names;       // removing names while reading may skip some
    while (const dirent *entry = ::readdir(open.get())) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            names.emplace_back(entry->d_name);
        }
    }
    for (const QByteArray &one : names) {
        if (!RemoveAt(handle, one.constData())) {
            return false;
        }
    }
    return true;
}

bool RemoveAt(int folder, const char *name)
{
    if (::unlinkat(folder, name, 0) == 0 || errno == ENOENT) {
        return true;
    }
    struct stat about {};
    const int error = errno;
    if (::fstatat(folder, name, &about, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(about.st_mode)) {
        errno = error;
        return false;
    }
    if ((about.st_mode & OwnerMayAll) != OwnerMayAll) {
        (void)::fchmodat(folder, name, OwnerMayAll, 0); // if this fails, so does the next step
    }
    return RemoveContent(folder, name) && ::unlinkat(folder, name, AT_REMOVEDIR) == 0;
}

} // namespace

bool RemoveTree(const QByteArray &path)
{
    return RemoveAt(AT_FDCWD, path.constData());
}
