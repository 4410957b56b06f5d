// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/InstalledRelease.h"

#include "platform/InfoPlist.h"
#include "platform/VersionNumber.h"
#include "release/Descriptor.h"
#include "release/FileDigests.h"
#include "release/ReleaseSignature.h"
#include "release/SystemCalls.h"

#include <QFile>
#include <QFileInfo>
#include <QObject>

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>

namespace {

const QString BundleList = QStringLiteral("/Contents/Info.plist");

void ReadPropertyList(const QString &install, InstalledRelease &installed)
{
    const QByteArray path = QFile::encodeName(install + BundleList);
    const InfoPlist list = ReadInfoPlist(path.toStdString());
    installed.identifier = QString::fromStdString(list.identifier.value_or(std::string()));
    if (list.version) {
        installed.listNumber = VersionNumber(list.version->c_str());
        installed.versionString = QString::fromStdString(*list.version);
    }
}

/// Returns the number in the first line of a manifest; 0 if it is an old one.
int NumberIn(const QByteArray &content)
{
    static const QByteArray beginning("@release\t");
    const int from = beginning.size();
    return content.startsWith(beginning)
               ? content.mid(from, content.indexOf('\t', from) - from).toInt()
               : 0;
}

/// Finds out whether somebody has put another release there by hand, as users do with a bundle: its
/// manifest, which is elsewhere, then says nothing about these files. The property list must have
/// both another number and another content than the manifest's.
void LookForReplacement(const QString &install, InstalledRelease &installed)
{
    const int number = NumberIn(installed.content);
    const QString list = install + BundleList;
    ReleaseManifest manifest;
    if (number == 0 || !installed.listNumber || *installed.listNumber == number ||
        QFileInfo(list).isSymLink() || !ReadManifest(installed.content, manifest).isEmpty()) {
        return;
    }
    FileDigests digests;
    const QString reason = ReadDigests(list, DigestKinds::Sha256, digests);
    if (!reason.isEmpty()) {
        installed.unreadable = QObject::tr("%1无法读取:%2").arg(list, reason);
        return;
    }
    installed.isReplaced =
        std::none_of(manifest.files.cbegin(), manifest.files.cend(), [&](const ManifestFile &file) {
            return file.path == BundleList.mid(1) && file.sha256 == digests.sha256;
        });
}

} // namespace

QString DoubtAbout(const QString &path)
{
    struct stat about {};
    if (::lstat(QFile::encodeName(path).constData(), &about) != 0) {
        const bool isMissing = errno == ENOENT || errno == ENOTDIR;
        const QString reason = SystemError();
        return isMissing ? QString() : QObject::tr("%1无法读取:%2").arg(path, reason);
    }
    const bool isReadable =
        S_ISREG(about.st_mode) && about.st_size > 0 && about.st_size < TooLargeManifest;
    return isReadable ? QObject::tr("%1无法读取").arg(path) : QString();
}

QString DoubtAboutKind(const QString &folder)
{
    return DoubtAbout(folder + BundleList);
}

std::optional<int> InstalledRelease::number() const
{
    const bool tells = hasManifest && manifest.isComplete;
    if (!tells) {
        return listNumber;
    }
    return listNumber ? qMax(*listNumber, manifest.version) : manifest.version;
}

InstalledRelease FindInstalled(const Layout &layout)
{
    InstalledRelease installed;
    installed.isBundle = IsBundle(layout.install);
    if (installed.isBundle) {
        ReadPropertyList(layout.install, installed);
    }
    const QString path = layout.manifestPath(installed.isBundle);
    installed.content = ReadSmall(path, TooLargeManifest);
    installed.signature = ReadSmall(SignaturePath(path), TooLargeSignature);
    if (installed.content.isEmpty()) {
        installed.unreadable = DoubtAbout(path);
    }
    if (!installed.isBundle && installed.unreadable.isEmpty()) {
        installed.unreadable = DoubtAboutKind(layout.install);
    }
    if (installed.isBundle && !layout.isManifestInside(true)) {
        LookForReplacement(layout.install, installed);
    }
    return installed;
}

void ReadInstalledManifest(InstalledRelease &installed, const QByteArray &content,
                           const ReleaseManifest &manifest)
{
    if (!content.isEmpty() && installed.content == content) {
        installed.manifest = manifest;
        installed.hasManifest = true;
    } else {
        installed.hasManifest = !installed.content.isEmpty() &&
                                ReadManifest(installed.content, installed.manifest).isEmpty();
    }
    if (installed.hasManifest && installed.versionString.isEmpty()) {
        installed.versionString = installed.manifest.versionString;
    }
}

QByteArray ReadSmall(const QString &path, qint64 limit)
{
    Descriptor open;
    QFile file;
    if (!OpenRegularFile(path, open).isEmpty() || !file.open(open.number(), QIODevice::ReadOnly) ||
        file.size() >= limit) {
        return {};
    }
    QByteArray content = file.readAll();
    return content.size() == file.size() ? content : QByteArray();
}
