// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

/// The daily log file behind Qt's message functions.
///
/// Between Initialize() and Release() every message of sufficient level is appended, as one line,
/// to the file "yyyy-MM-dd.log" (local date) in the folder "Log" below the data directory, and
/// every message is passed on to the handler that was installed before. Nothing reports an error:
/// a line that cannot be written is skipped. Call these functions on the main thread; messages
/// may come from any thread.
class CLogHandler {
public:
    /// Sets the lowest message type that is written. Compares the enum's numbers, of which
    /// QtInfoMsg (4) is the highest. QtCriticalMsg until the first call.
    static void SetLogLevel(QtMsgType level);

    /// Sets the message pattern, makes the log folder and installs the handler. Call it once per
    /// process.
    static void Initialize();

    /// Restores Qt's default handler. The pattern and the files stay.
    static void Release();
};
