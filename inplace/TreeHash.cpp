// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeHash.h"

#include "inplace/StopSignals.h"
#include "release/Descriptor.h"
#include "release/FileCalls.h"
#include "release/FileDigests.h"
#include "release/Workers.h"

#include <QThread>

#include <fcntl.h>

namespace {

bool IsSame(const timespec &one, const timespec &other)
{
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

/// Reads one file; \a about receives its state when it was opened.
bool IsRight(const QByteArray &path, const ManifestFile &file, struct stat &about)
{
    const Descriptor open(::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return open.isOpen() && ::fstat(open.number(), &about) == 0 && S_ISREG(about.st_mode) &&
           static_cast<quint64>(about.st_size) == file.size && HasContent(open.number(), file);
}

} // namespace

bool HashedFiles::isKnown(const QByteArray &path, const struct stat &about) const
{
    const auto known = m_files.constFind(path);
    return known != m_files.cend() && known->st_dev == about.st_dev &&
           known->st_ino == about.st_ino && known->st_size == about.st_size &&
           IsSame(ModificationTime(*known), ModificationTime(about)) &&
           IsSame(ChangeTime(*known), ChangeTime(about));
}

void HashedFiles::remember(const QByteArray &path, const struct stat &about)
{
    m_files.insert(path, about);
}

std::vector<const PlannedEntry *> WrongFiles(const QByteArray &root,
                                             const std::vector<const PlannedEntry *> &entries,
                                             HashedFiles &known)
{
    struct Result {
        bool right = false;
        bool read = false;
        struct stat about = {};
    };
    std::vector<Result> results(entries.size());
    Tickets tickets(static_cast<int>(entries.size()));
    const HashedFiles &before = known;
    const auto work = [&] {
        for (int ticket = tickets.take(); ticket >= 0 && !StopSignals::isWanted();
             ticket = tickets.take()) {
            const PlannedEntry &entry = *entries[static_cast<std::size_t>(ticket)];
            Result &result = results[static_cast<std::size_t>(ticket)];
            const QByteArray path = root + '/' + entry.path;
            if (::lstat(path.constData(), &result.about) == 0 &&
                before.isKnown(entry.path, result.about)) {
                result.right = true;
                continue;
            }
            result.read = true;
            result.right = IsRight(path, *entry.file, result.about);
        }
    };
    RunWorkers(entries.size() > 1 ? QThread::idealThreadCount() : 0, work, [] {});

    std::vector<const PlannedEntry *> wrong;
    for (std::size_t index = 0; index < entries.size(); ++index) {
        if (!results[index].right) {
            wrong.push_back(entries[index]);
        } else if (results[index].read) {
            known.remember(entries[index]->path, results[index].about);
        }
    }
    return wrong;
}

bool HasContent(int descriptor, const ManifestFile &file)
{
    FileDigests digests;
    const bool bySha256 = !file.sha256.isEmpty();
    const DigestKinds kinds = bySha256 ? DigestKinds::Sha256 : DigestKinds::Sha256AndMd5;
    return ReadDigests(descriptor, kinds, digests).isEmpty() && digests.size == file.size &&
           (bySha256 ? digests.sha256 == file.sha256 : digests.md5 == file.md5);
}
