// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

/// \file
/// Stand-ins for calls of macOS that do their work with calls of Linux: renamex_np(),
/// fcopyfile(), statfs(), listxattr(), minherit() and fcntl() with F_FULLFSYNC. For one thread.

/// Tells the stand-ins what to do, and records what they did.
struct MacCalls {
    int exchangeError = 0;    ///< if not 0, renamex_np() fails with it
    int copyError = 0;        ///< if not 0, fcopyfile() copies three bytes and fails with it
    int fullSyncError = 0;    ///< if not 0, F_FULLFSYNC fails with it
    int fullSyncs = 0;        ///< how often F_FULLFSYNC succeeded
    std::string volumePrefix; ///< put before the mount points that statfs() returns

    /// Returns the object that the stand-ins use.
    static MacCalls &it();
};
