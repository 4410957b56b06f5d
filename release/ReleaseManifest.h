// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "core/Func.h"

#include <vector>

/// \file
/// The whole manifest of a release, update_md5.info: what ParseMd5File() gives of it, and the
/// extended lines, which begin with '@' and which that passes over. Callable on any thread.

/// How many files, links and empty folders a manifest may list, and how many folders may hold them.
constexpr int MostManifestPaths = 1000000;

/// Manifests of this size in bytes or more are refused unread.
constexpr qint64 TooLargeManifest = qint64{512} << 20;

/// A regular file of a release.
struct ManifestFile {
    QString path;      ///< below the release, '/' between its names
    quint64 size = 0;  ///< in bytes
    QByteArray md5;    ///< as Md5Hash() makes it
    QByteArray sha256; ///< 64 lower-case hexadecimal digits; empty in an old manifest
    int mode = 0;      ///< permission bits; 0 in an old manifest
};

/// A symbolic link of a release.
struct ManifestLink {
    QString path;
    QString target; ///< as it is written in the link
};

/// A folder of a release that is empty, or whose mode is not the usual one.
struct ManifestFolder {
    QString path;
    int mode = 0755;
};

/// What a manifest says. A plain value. The paths of each list are in the order of their UTF-8.
struct ReleaseManifest {
    bool isComplete = false; ///< has the extended lines; an old one has nothing but its files
    int version = 0;
    QString folder; ///< of the release, beside update.json
    QString versionString;
    QString application; ///< the identifier of the bundle; empty when the release is none
    int minVersion = 0;
    QString page; ///< what the browser is to open; empty when there is none
    std::vector<ManifestFile> files;
    std::vector<ManifestLink> links;
    std::vector<ManifestFolder> folders;
};

/// Returns the content of update_md5.info that says what \a manifest says, whether that can be
/// published or not: ReadManifest() tells. The lists may stand in any order; equal manifests give
/// equal bytes on every machine. An old one gets no extended lines.
QByteArray ManifestContent(const ReleaseManifest &manifest);

/// Reads the content of an update_md5.info. A complete one must be exactly what ManifestContent()
/// makes of a release that can be stored and fetched everywhere; unknown lines that begin with '@'
/// are passed over, unknown ones that begin with "@!" refused. An old one is read as ParseMd5File()
/// does, and its paths and sizes are checked.
///
/// Returns why the content is refused, or empty text. The text names the line, `line 7: ...`, but
/// for a file of an old one, which it names by its path. What \a manifest holds after a failure
/// means nothing.
QString ReadManifest(const QByteArray &content, ReleaseManifest &manifest);

/// Reads what a complete manifest says before its first path. Of the others, and of one whose first
/// lines ReadManifest() would refuse, nothing is read.
///
/// Returns whether that went well. The lists of \a manifest are empty then, whatever it lists.
bool ReadManifestHead(const QByteArray &content, ReleaseManifest &manifest);

/// Returns the record of a \a file as ParseMd5File() gives it.
tagDownloadFileInfo ManifestRecord(const ManifestFile &file);

/// Returns why a release cannot have a file with the permission bits \a mode, or empty text. The
/// owner may read it, and nobody else may write it.
QString FileModeReason(int mode);

/// The same for a folder, which its owner may enter too.
QString FolderModeReason(int mode);
