// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "publish/SignWith.h"

#include "app/FileNames.h"
#include "publish/FolderCheck.h"
#include "publish/ShellCommand.h"
#include "release/Descriptor.h"
#include "release/DurableFile.h"
#include "release/ReleaseSource.h"
#include "release/SystemCalls.h"

#include <sys/stat.h>

namespace {

constexpr mode_t ForEverybody = 0644;

/// Makes the signature readable for everybody and safe from a power loss.
QString KeepSignature(const QString &path)
{
    Descriptor file;
    QString reason = OpenRegularFile(path, file);
    if (reason.isEmpty() &&
        (::fchmod(file.number(), ForEverybody) != 0 || !SyncFile(file.number()))) {
        reason = SystemError();
    }
    return reason.isEmpty() ? reason
                            : QStringLiteral("\"%1\" cannot be kept: %2.").arg(path, reason);
}

} // namespace

QString SignRelease(const QString &releaseDir, const ReleaseManifest &manifest,
                    const QByteArray &content, const Signing &signing)
{
    const QString manifestPath = releaseDir + QLatin1Char('/') + LOCAL_MD5_FILENAME;
    const QString signaturePath = releaseDir + QLatin1Char('/') + SIGNATURE_FILENAME;
    QString reason = RunShellCommand(signing.command, manifestPath, signing.outputToErrors);
    if (!reason.isEmpty()) {
        return QStringLiteral("The signing command failed: %1.").arg(reason);
    }
    FolderSource source(releaseDir);
    QByteArray signature;
    ReleaseFault fault = source.read(SIGNATURE_FILENAME, TooLargeSignature, signature);
    if (!fault.isNone()) {
        return QStringLiteral("The signing command left no usable %1: %2.")
            .arg(fault.subject, fault.detail);
    }
    QByteArray now;
    fault = source.read(LOCAL_MD5_FILENAME, TooLargeManifest, now);
    if (!fault.isNone() || now != content) {
        return QStringLiteral("The signing command changed %1.").arg(LOCAL_MD5_FILENAME);
    }
    if (!signing.keys.isEmpty()) {
        reason = SignatureReason(content, signature, signing.keys);
        if (!reason.isEmpty()) {
            return QStringLiteral("The signature is not accepted: %1.").arg(reason);
        }
    }
    const FolderState state = CheckFolder(releaseDir, manifest);
    const QStringList changes = state.problems + state.extras;
    if (!changes.isEmpty()) {
        return QStringLiteral("The signing command changed the release: %1")
            .arg(changes.constFirst());
    }
    return KeepSignature(signaturePath);
}
