// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/TreeVerify.h"

#include "inplace/EntryOwner.h"
#include "inplace/StopSignals.h"

#include <QFile>
#include <QObject>

namespace {

Problem Wrong(const QByteArray &path)
{
    return {End::Verification, QObject::tr("新版本的文件%1校验不对").arg(QFile::decodeName(path))};
}

bool IsAsPlanned(const TreeEntry &entry, const PlannedEntry &planned)
{
    const bool isFile = planned.file != nullptr;
    return entry.kind == planned.kind && entry.target == planned.target &&
           (!isFile || static_cast<quint64>(entry.about.st_size) == planned.file->size) &&
           IsSettled(entry.about, planned);
}

} // namespace

Problem VerifyTree(const QByteArray &root, const TreePlan &plan, bool withManifest,
                   HashedFiles &hashed)
{
    TreeEntries entries;
    const QString reason = ListTree(root, entries);
    if (!reason.isEmpty()) {
        return {End::Storage, reason};
    }
    auto entry = entries.cbegin();
    std::vector<const PlannedEntry *> files;
    for (const PlannedEntry &planned : plan) {
        while (entry != entries.cend() && withManifest && IsManifestName(entry->path)) {
            ++entry;
        }
        if (entry != entries.cend() && entry->path < planned.path) {
            return Wrong(entry->path); // more than is planned
        }
        if (entry == entries.cend() || entry->path != planned.path) {
            if (planned.from == PlannedEntry::From::User) {
                continue;
            }
            return Wrong(planned.path);
        }
        if (!IsAsPlanned(*entry, planned)) {
            return Wrong(planned.path);
        }
        if (planned.file && !hashed.isKnown(entry->path, entry->about)) {
            files.push_back(&planned);
        }
        ++entry;
    }
    for (; entry != entries.cend(); ++entry) {
        if (!withManifest || !IsManifestName(entry->path)) {
            return Wrong(entry->path);
        }
    }
    const std::vector<const PlannedEntry *> wrong = WrongFiles(root, files, hashed);
    if (StopSignals::isWanted()) {
        return CancelledProblem();
    }
    return wrong.empty() ? Problem() : Wrong(wrong.front()->path);
}
