// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

/// An entry in the log of recorded_disk. Entries are in the order of events; a write is followed by
/// \a length bytes of data.
struct LogEntry {
    enum Kind : std::uint32_t {
        Write, ///< data reached the disk, which may keep it in its cache
        Flush, ///< the disk was told to empty its cache: all earlier writes to it are safe
        Mark,  ///< the test has set a mark
    };

    std::uint32_t kind;
    std::uint32_t disk; ///< number of the disk, from 0; 0 for a mark
    std::uint64_t offset;
    std::uint64_t length;
};
