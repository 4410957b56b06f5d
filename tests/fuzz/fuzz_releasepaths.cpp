// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"
#include "release/Formats.h"
#include "release/ReleasePaths.h"
#include "tests/fuzz/PathOracle.h"
#include "tests/fuzz/Require.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

/// Whether publishing would list these files and finds nothing wrong with the list.
bool IsPublished(const QMap<QString, tagDownloadFileInfo> &files)
{
    std::vector<tagDownloadFileInfo> records;
    for (tagDownloadFileInfo record : files) {
        record.md5 = "d98c1dd404b2008f980980e97e42f8ec";
        record.sizeHigh = 0; // only the paths are looked at: no file is too large
        record.sizeLow &= 0x3FFFFFFFU;
        records.push_back(record);
    }
    const QByteArray content = ManifestContent(records);
    if (!ManifestProblems(content).isEmpty()) {
        return false;
    }
    const QMap<QString, tagDownloadFileInfo> reread = ParseMd5File(content);
    if (reread.keys() != files.keys()) {
        return false; // a path that a line cannot carry, such as one with a CR at its end
    }
    for (const tagDownloadFileInfo &record : records) {
        Require(FileSize(reread.value(record.path)) == FileSize(record),
                "a published size is read as it was");
    }
    return true;
}

/// Whether an updater takes these files, as far as their paths go.
bool IsUpdated(const QStringList &paths)
{
    for (const QString &path : paths) {
        if (!UnsafePathReason(path).isEmpty()) {
            return false;
        }
    }
    return CollisionReason(paths).isEmpty();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray content(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QMap<QString, tagDownloadFileInfo> files = ParseMd5File(content);
    if (files.isEmpty()) {
        return 0;
    }
    const bool updated = IsUpdated(files.keys());
    Require(IsPublished(files) == updated, "publishing and updating agree");
    Require(updated || !ManifestProblems(content).isEmpty(), "what is verified is updated");
    if (updated) {
        const char *const broken = BrokenPathRule(files.keys());
        Require(!broken, broken);
    }
    return 0;
}
