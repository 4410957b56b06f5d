// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "release/Formats.h"
#include "release/ReleaseManifest.h"
#include "release/ReleaseSignature.h"
#include "release/ReleaseSource.h"

/// A release that is published, as far as it can be judged without its files and without the
/// installation that it is for.
struct PublishedRelease {
    /// What update.json says. Of a signed release, everything is the manifest's.
    PublishedDescription description;
    QStringList descriptionProblems; ///< what DescriptionProblems() said of update.json
    QByteArray manifestContent;
    QByteArray signature;     ///< empty when no key was given
    ReleaseManifest manifest; ///< of a known one, what stands before the paths
    bool isKnown = false;     ///< the manifest is the one that the caller had
    bool isSigned = false;    ///< one of the keys made the signature
};

/// Reads update.json, the manifest of the release that it leads to and, when there are \a keys, the
/// signature of the manifest. This is the one way to read what is published: what is verified with
/// it will be updated with it.
///
/// With keys, nothing unsigned decides anything: update.json only says where to look. A complete
/// manifest must be of the version and the folder that update.json names, with keys or without. An
/// old manifest is refused with keys, and one that may have been cut off unnoticed without any.
///
/// \a known  the content of a manifest that was judged before, or nothing: when it is the published
///          one its paths are not read again, which is most of the work.
/// Returns what is wrong; what \a release holds then means nothing. Takes as long as \a source.
ReleaseFault ReadPublishedRelease(ReleaseSource &source, const QVector<PublicKey> &keys,
                                  PublishedRelease &release,
                                  const QByteArray &known = QByteArray());
