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
    QVector<PublicKey> publicKeys; ///< one of them must have signed; with none, nobody must
    bool strict = false;           ///< warnings are failures
};

/// Checks the release that the options name, every file of it, and points update.json at it at one
/// stroke. Its version may be below the announced one: that withdraws a release. Returns the
/// program's exit code; after a failure the former announcement stands.
int Announce(const AnnounceOptions &options, Report &report);
