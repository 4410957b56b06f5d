// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/Formats.h"
#include "release/ReleaseManifest.h"
#include "release/ReleaseSignature.h"
#include "release/ReleaseSource.h"

/// A published release, as far as it can be judged without its files and without an installation.
struct PublishedRelease {
    /// What update.json says; if the release is signed, what the manifest says.
    PublishedDescription description;
    QStringList descriptionProblems; ///< the result of DescriptionProblems() for update.json
    QByteArray manifestContent;
    QByteArray signature;     ///< empty when no key was given
    ReleaseManifest manifest; ///< of a known one, what stands before the paths
    bool isKnown = false;     ///< the manifest is the one that the caller had
    bool isSigned = false;    ///< one of the keys made the signature
};

/// Reads update.json, the manifest of the release that it leads to and, when there are \a keys, the
/// signature of the manifest. Verifying and updating both read releases this way, so that they
/// cannot disagree.
///
/// With keys, nothing unsigned decides anything: update.json only says where to look. A complete
/// manifest must have the version and the folder that update.json names, with keys or without. With
/// keys, an old manifest is refused; without keys, one that may have been cut off unnoticed.
///
/// \a known  the content of a manifest that was read before, or nothing. If it is the published
/// one,
///          its paths are not read again, which is most of the work.
/// Returns what is wrong; \a release is then meaningless. Takes as long as \a source does.
ReleaseFault ReadPublishedRelease(ReleaseSource &source, const QVector<PublicKey> &keys,
                                  PublishedRelease &release,
                                  const QByteArray &known = QByteArray());
