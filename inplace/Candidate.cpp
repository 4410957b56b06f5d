// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/Candidate.h"

#include <QCryptographicHash>

namespace {

Decision DecideByNumber(const Candidate &candidate, const InstalledRelease &installed,
                        const std::optional<HighestNumber> &highest, bool withKeys)
{
    const std::optional<int> number = installed.number();
    if (number && candidate.version < *number) {
        return Decision::Older;
    }
    const bool isNumberOfManifest = installed.hasManifest && installed.manifest.isComplete &&
                                    installed.manifest.version == candidate.version;
    const bool isSame = installed.hasManifest && installed.content == candidate.content;
    const bool isOldInstalled = installed.hasManifest && !installed.manifest.isComplete;
    if (isNumberOfManifest && !isSame && withKeys) {
        return Decision::SameNumber; // but its bytes differ
    }
    if (withKeys && highest) {
        if (candidate.version < highest->number) {
            return Decision::Older;
        }
        if (candidate.version == highest->number &&
            highest->sha256 != ManifestDigest(candidate.content)) {
            return Decision::SameNumber;
        }
    }
    // A bundle that was not installed by an updater has no manifest to compare.
    const bool isComparable = isNumberOfManifest || isOldInstalled;
    return number && candidate.version == *number && !isComparable ? Decision::UpToDate
                                                                   : Decision::Install;
}

} // namespace

Decision Decide(const Candidate &candidate, const InstalledRelease &installed,
                const std::optional<HighestNumber> &highest, bool withKeys, bool allowOlder)
{
    if (installed.hasManifest && installed.isOf(candidate.content)) {
        return Decision::UpToDate;
    }
    const Decision decision = DecideByNumber(candidate, installed, highest, withKeys);
    return decision == Decision::Older && allowOlder ? Decision::Install : decision;
}

bool IsForced(const Candidate &candidate, const InstalledRelease &installed)
{
    const std::optional<int> number =
        installed.isBundle ? installed.listNumber : installed.number();
    return number && *number <= candidate.minVersion;
}

QStringList WantedApplications(const QString &asked, const InstalledRelease &installed)
{
    if (!asked.isEmpty()) {
        return {asked};
    }
    QStringList wanted{installed.identifier};
    if (installed.hasManifest) {
        wanted.append(installed.manifest.application);
    }
    wanted.removeAll(QString());
    return wanted;
}

QByteArray ManifestDigest(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex();
}
