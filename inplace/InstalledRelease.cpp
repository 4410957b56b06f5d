// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/InstalledRelease.h"

#include "platform/InfoPlist.h"
#include "platform/VersionNumber.h"
#include "release/Descriptor.h"
#include "release/ReleaseSignature.h"
#include "release/SystemCalls.h"

#include <QFile>
#include <QObject>

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
