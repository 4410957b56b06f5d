// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QUrl>

/// How long one answer may take.
struct VerifyTimeouts {
    qint32 descriptionSeconds = 15; ///< for update.json; as long as an updater waits
    qint32 fileSeconds = 60;        ///< for every other file; large ones get more
};

/// Fetches update.json, the manifest and every file that are published under \a baseUrl, the way an
/// updater does, and says on standard error what is wrong. Returns the program's exit code: 0 only
/// when everything is right.
///
/// Blocks in local event loops; the application object must exist.
int Verify(const QUrl &baseUrl, const VerifyTimeouts &timeouts = {});
