// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "release/PublishedRelease.h"

#include "app/FileNames.h"

namespace {

using Kind = ReleaseFault::Kind;

ReleaseFault ReadDescription(ReleaseSource &source, PublishedRelease &release)
{
    QByteArray content;
    ReleaseFault fault = source.read(UPDATE_DESCRIBE_FILENAME, LongestDescription, content);
    if (!fault.isNone()) {
        return fault;
    }
    release.descriptionProblems = DescriptionProblems(content, release.description);
    if (FolderReason(release.description.folder).isEmpty()) {
        return {}; // all that is needed to continue
    }
    return {Kind::Description, UPDATE_DESCRIBE_FILENAME,
            release.descriptionProblems.join(QStringLiteral("; "))};
}

ReleaseFault CheckSignature(ReleaseSource &source, const QString &name,
                            const QVector<PublicKey> &keys, PublishedRelease &release)
{
    ReleaseFault fault = source.read(name, TooLargeSignature, release.signature);
    if (fault.kind == Kind::Missing) {
        fault.kind = Kind::Signature;
        fault.detail = QStringLiteral("the release is not signed: %1").arg(fault.detail);
    }
    if (!fault.isNone()) {
        return fault;
    }
    const QString reason = SignatureReason(release.manifestContent, release.signature, keys);
    release.isSigned = reason.isEmpty();
    return release.isSigned ? ReleaseFault() : ReleaseFault{Kind::Signature, name, reason};
}

/// Checks that update.json and the manifest are about the same release.
ReleaseFault Compare(const PublishedDescription &description, const ReleaseManifest &manifest)
{
    if (description.folder == manifest.folder && description.version == manifest.version) {
        return {};
    }
    return {Kind::Mismatch, UPDATE_DESCRIBE_FILENAME,
            QStringLiteral("it names version %1 in \"%2\", but the manifest has version %3 in "
                           "\"%4\"")
                .arg(QString::number(description.version), description.folder,
                     QString::number(manifest.version), manifest.folder)};
}

} // namespace

ReleaseFault ReadPublishedRelease(ReleaseSource &source, const QVector<PublicKey> &keys,
                                  PublishedRelease &release, const QByteArray &known)
{
    release = {};
    if (ReleaseFault fault = ReadDescription(source, release); !fault.isNone()) {
        return fault;
    }
    const QString folder = release.description.folder + QLatin1Char('/');
    const QString name = folder + LOCAL_MD5_FILENAME;
    if (ReleaseFault fault = source.read(name, TooLargeManifest, release.manifestContent);
        !fault.isNone()) {
        return fault;
    }
    // A signature detects a truncated manifest. Without one, files missing from it would look like
    // files that the release no longer has.
    if (keys.isEmpty() && !source.isKnownWhole()) {
        return {
            Kind::Network, name,
            QStringLiteral(
                "the server does not give its length, so a part of it could pass for the whole")};
    }
    if (!keys.isEmpty()) { // before the manifest is used for anything else
        ReleaseFault fault = CheckSignature(source, folder + SIGNATURE_FILENAME, keys, release);
        if (!fault.isNone()) {
            return fault;
        }
    }
    const ReleaseManifest &manifest = release.manifest;
    release.isKnown = release.manifestContent == known && ReadManifestHead(known, release.manifest);
    if (!release.isKnown) {
        const QString reason = ReadManifest(release.manifestContent, release.manifest);
        if (!reason.isEmpty()) {
            return {Kind::Manifest, name, reason};
        }
    }
    if (!manifest.isComplete) {
        return keys.isEmpty()
                   ? ReleaseFault()
                   : ReleaseFault{Kind::Manifest, name,
                                  QStringLiteral("it does not say which release it belongs to, so "
                                                 "its signature proves nothing")};
    }
    if (ReleaseFault fault = Compare(release.description, manifest); !fault.isNone()) {
        return fault;
    }
    if (release.isSigned) {
        release.description = {manifest.version, manifest.versionString, manifest.folder,
                               manifest.minVersion, manifest.page};
    }
    return {};
}
