// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

/// \file
/// Stand-ins for the calls of macOS, which do the work with those of Linux: renamex_np(),
/// fcopyfile(), statfs(), listxattr(), minherit() and fcntl() with F_FULLFSYNC. For one thread.

/// What the stand-ins are to do, and what they have done.
struct MacCalls {
    int exchangeError = 0;    ///< if not 0, renamex_np() fails with it
    int copyError = 0;        ///< if not 0, fcopyfile() copies three bytes and fails with it
    int fullSyncError = 0;    ///< if not 0, F_FULLFSYNC fails with it
    int fullSyncs = 0;        ///< how often F_FULLFSYNC succeeded
    std::string volumePrefix; ///< put before the mount points that statfs() gives

    /// Returns the one that the stand-ins use.
    static MacCalls &it();
};
