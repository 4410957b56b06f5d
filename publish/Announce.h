// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/Report.h"
#include "release/ReleaseSignature.h"

#include <QString>
#include <QVector>

/// Which release to announce, and where.
struct AnnounceOptions {
    QString outputDir;
    QString folder;
    QVector<PublicKey> publicKeys; ///< one of them must have signed; if empty, nobody must
    bool strict = false;           ///< warnings count as failures
};

/// Checks every file of the release that the options name, and points update.json at the release
/// atomically. Its version may be below the announced one: that withdraws a release. Returns the
/// program's exit code; after a failure the former announcement stays.
int Announce(const AnnounceOptions &options, Report &report);
