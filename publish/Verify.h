// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/Report.h"
#include "release/ReleaseSignature.h"

#include <QUrl>
#include <QVector>

/// How long one answer may take.
struct VerifyTimeouts {
    qint32 descriptionSeconds = 15; ///< for update.json; as long as an updater waits
    qint32 fileSeconds = 60;        ///< for every other file; large ones get more
};

/// What to verify.
struct VerifyOptions {
    QUrl baseUrl;                  ///< where users fetch from; empty for \a outputDir
    QString outputDir;             ///< a folder that a base URL serves
    QVector<PublicKey> publicKeys; ///< one of them must have signed; if empty, nobody must
    bool strict = false;           ///< warnings count as failures
    VerifyTimeouts timeouts;
};

/// Reads the published update.json, manifest and files the way an updater does, and prints what is
/// wrong. Returns the program's exit code, 0 only if nothing is wrong.
///
/// Blocks in local event loops; the application object must exist.
int Verify(const VerifyOptions &options, Report &report);
