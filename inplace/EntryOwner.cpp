// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/EntryOwner.h"

#include "inplace/FileCopy.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr mode_t ModeBits = 07777;

bool HasMode(const struct stat &about, const PlannedEntry &entry)
{
    return entry.mode < 0 || S_ISLNK(about.st_mode) ||
           (about.st_mode & ModeBits) == static_cast<mode_t>(entry.mode);
}

bool HasOwner(const struct stat &about, const PlannedEntry &entry)
{
    return about.st_uid == entry.user && about.st_gid == entry.group;
}

/// The mode to set: a new file has another one, and a change of owner clears bits.
mode_t WantedMode(const struct stat &about, const PlannedEntry &entry)
{
    return entry.mode < 0 ? about.st_mode & ModeBits : static_cast<mode_t>(entry.mode);
}

} // namespace

bool SettleEntry(int folder, const char *name, const PlannedEntry &entry)
{
    struct stat about {};
    if (::fstatat(folder, name, &about, AT_SYMLINK_NOFOLLOW) != 0) {
        return false;
    }
    if (NeedsNothing(about, entry)) {
        return true;
    }
    const mode_t mode = WantedMode(about, entry);
    if (S_ISREG(about.st_mode) && about.st_nlink > 1 && !CopyInPlace(folder, name)) {
        return false;
    }
    if (::geteuid() == 0) {
        if (::fchownat(folder, name, entry.user, entry.group, AT_SYMLINK_NOFOLLOW) != 0) {
            return false;
        }
    } else if (about.st_gid != entry.group) {
        // Without the right to give it to the group, keep it as it is.
        (void)::fchownat(folder, name, static_cast<uid_t>(-1), entry.group, AT_SYMLINK_NOFOLLOW);
    }
    return S_ISLNK(about.st_mode) || ::fchmodat(folder, name, mode, 0) == 0;
}

bool NeedsNothing(const struct stat &about, const PlannedEntry &entry)
{
    // A shared file keeps its group: changing it would need a copy.
    const bool isShared = !S_ISDIR(about.st_mode) && about.st_nlink > 1;
    return IsSettled(about, entry) && (HasOwner(about, entry) || isShared);
}

bool IsSettled(const struct stat &about, const PlannedEntry &entry)
{
    return HasMode(about, entry) && (::geteuid() != 0 || HasOwner(about, entry));
}
