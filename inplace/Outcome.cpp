// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Outcome.h"

#include <QObject>

#include <array>

namespace {

constexpr std::array Table{
    EndInfo{End::Updated, "updated", true, false},
    EndInfo{End::Repaired, "repaired", true, false},
    EndInfo{End::Undone, "undone", true, false},
    EndInfo{End::UpToDate, "up-to-date", true, false},
    EndInfo{End::Older, "older", true, false},
    EndInfo{End::Available, "available", true, false},
    EndInfo{End::Ready, "ready", true, false},
    EndInfo{End::Cancelled, "cancelled", false, false},
    EndInfo{End::Postponed, "postponed", false, false},
    EndInfo{End::Network, "network", false, true},
    EndInfo{End::Stalled, "stalled", false, true},
    EndInfo{End::TooLong, "too-long", false, true},
    EndInfo{End::Description, "description", false, true},
    EndInfo{End::Manifest, "manifest", false, true},
    EndInfo{End::Signature, "signature", false, true},
    EndInfo{End::Application, "application", false, false},
    EndInfo{End::SameNumber, "same-number", false, false},
    EndInfo{End::NoRoom, "no-room", false, true},
    EndInfo{End::Folders, "folders", false, false},
    EndInfo{End::MountPoint, "mount-point", false, false},
    EndInfo{End::NotWritable, "not-writable", false, false},
    EndInfo{End::ReadOnly, "read-only", false, false},
    EndInfo{End::Names, "names", false, false},
    EndInfo{End::StagingOwner, "staging-owner", false, false},
    EndInfo{End::Busy, "busy", false, true},
    EndInfo{End::Download, "download", false, true},
    EndInfo{End::Verification, "verification", false, true},
    EndInfo{End::Storage, "storage", false, true},
    EndInfo{End::Exchange, "exchange", false, true},
    EndInfo{End::NothingReady, "nothing-ready", false, false},
    EndInfo{End::NothingToUndo, "nothing-to-undo", false, false},
    EndInfo{End::NoDisplay, "no-display", false, false},
};

constexpr bool IsInOrder()
{
    for (std::size_t row = 0; row < Table.size(); ++row) {
        if (static_cast<std::size_t>(Table[row].end) != row) {
            return false;
        }
    }
    return true;
}

static_assert(IsInOrder() && Table.size() == static_cast<std::size_t>(End::NoDisplay) + 1);

} // namespace

const EndInfo &InfoOf(End end)
{
    return Table[static_cast<std::size_t>(end)];
}

Problem CancelledProblem()
{
    return {End::Cancelled, QObject::tr("已取消")};
}
