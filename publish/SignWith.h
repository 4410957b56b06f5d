// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/ReleaseManifest.h"
#include "release/ReleaseSignature.h"

#include <QString>
#include <QVector>

/// How a release is signed.
struct Signing {
    QString command;         ///< for the shell; the manifest's path is appended
    QVector<PublicKey> keys; ///< one of them must have signed; with none, the form is not checked
    bool outputToErrors = false; ///< whether what the command prints goes to standard error
};

/// Runs the signing command on the manifest in \a releaseDir, which is not visible yet, and checks
/// that it left an acceptable signature and every other file byte for byte as it was.
///
/// \a manifest, \a content  the manifest that was written there.
/// Returns why the release must not be published, or empty text. The signature survives a power
/// loss once its folder is synced.
QString SignRelease(const QString &releaseDir, const ReleaseManifest &manifest,
                    const QByteArray &content, const Signing &signing);
