// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeHash.h"

#include "inplace/FolderChain.h"
#include "inplace/StopSignals.h"
#include "release/Descriptor.h"
#include "release/FileCalls.h"
#include "release/FileDigests.h"
#include "release/Workers.h"

#include <QThread>

namespace {

constexpr int MostPlacing = 8; // each one has the folders of two trees open

bool IsSame(const timespec &one, const timespec &other)
{
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

/// Reads one file of a folder; \a about receives its state when it was opened.
bool IsRight(int folder, const QByteArray &name, const ManifestFile &file, struct stat &about)
{
    const Descriptor open(OpenToRead(folder, name.constData()));
    return open.isOpen() && ::fstat(open.number(), &about) == 0 && S_ISREG(about.st_mode) &&
           static_cast<quint64>(about.st_size) == file.size && HasContent(open.number(), file);
}

int ThreadsFor(std::size_t files, bool arePlaced)
{
    const int threads = files > 1 ? QThread::idealThreadCount() : 0;
    return arePlaced ? qMin(threads, MostPlacing) : threads;
}

} // namespace

bool HashedFiles::isKnown(const QByteArray &path, const struct stat &about) const
{
    const struct stat *const known = find(path);
    return isShared(path, about) && known->st_size == about.st_size &&
           IsSame(ModificationTime(*known), ModificationTime(about)) &&
           IsSame(ChangeTime(*known), ChangeTime(about));
}

bool HashedFiles::isShared(const QByteArray &path, const struct stat &other) const
{
    const struct stat *const known = find(path);
    return known && known->st_dev == other.st_dev && known->st_ino == other.st_ino;
}

const struct stat *HashedFiles::find(const QByteArray &path) const
{
    const auto known = m_files.constFind(path);
    return known != m_files.cend() ? &*known : nullptr;
}

void HashedFiles::remember(const QByteArray &path, const struct stat &about)
{
    m_files.insert(path, about);
}

std::vector<const PlannedEntry *> WrongFiles(const QByteArray &root,
                                             const std::vector<const PlannedEntry *> &entries,
                                             HashedFiles &right, const PlaceFileMaker &placer)
{
    struct Result {
        bool isThere = false;
        bool isRight = false;
        struct stat about = {};
    };
    std::vector<Result> results(entries.size());
    Tickets tickets(static_cast<int>(entries.size()));
    const auto work = [&] {
        FolderChain chain(root);
        const PlaceFile place = placer ? placer() : PlaceFile();
        for (int ticket = tickets.take(); ticket >= 0 && !StopSignals::isWanted();
             ticket = tickets.take()) {
            const PlannedEntry &entry = *entries[static_cast<std::size_t>(ticket)];
            Result &result = results[static_cast<std::size_t>(ticket)];
            result.isThere = !place || place(chain, entry);
            const int folder = result.isThere ? chain.openParent(entry.path) : -1;
            result.isRight =
                folder >= 0 && IsRight(folder, NameOf(entry.path), *entry.file, result.about);
        }
    };
    RunWorkers(ThreadsFor(entries.size(), placer != nullptr), work, [] {});

    std::vector<const PlannedEntry *> wrong;
    for (std::size_t index = 0; index < entries.size(); ++index) {
        if (results[index].isRight) {
            right.remember(entries[index]->path, results[index].about);
        } else if (results[index].isThere) {
            wrong.push_back(entries[index]);
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
