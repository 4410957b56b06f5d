// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "core/Func.h"

#include <vector>

/// \file
/// The whole manifest of a release, update_md5.info: the lines that ParseMd5File() reads, and the
/// extended lines, which begin with '@' and which ParseMd5File() skips. Callable on any thread.

/// The most files, links and folders that a manifest may list, and the most folders that may
/// contain them.
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
    bool isComplete = false; ///< has the extended lines; an old manifest lists only files
    int version = 0;
    QString folder; ///< of the release, beside update.json
    QString versionString;
    QString application; ///< the identifier of the bundle; empty when the release is none
    int minVersion = 0;
    QString page; ///< what the browser opens; may be empty
    std::vector<ManifestFile> files;
    std::vector<ManifestLink> links;
    std::vector<ManifestFolder> folders;
};

/// Returns the content of update_md5.info for \a manifest. Does not check whether that can be
/// published; ReadManifest() does. The lists may be in any order; equal manifests give equal bytes
/// on every machine. An old one gets no extended lines.
QByteArray ManifestContent(const ReleaseManifest &manifest);

/// Reads the content of an update_md5.info. A complete one must be exactly what ManifestContent()
/// writes for a release that can be stored and fetched everywhere; unknown lines that begin with
/// '@' are skipped, unknown ones that begin with "@!" refused. An old one is read as ParseMd5File()
/// does, and its paths and sizes are checked.
///
/// Returns why the content is refused, or empty text. The text names the line, `line 7: ...`, or
/// the path for a file of an old manifest. After a failure \a manifest is meaningless.
QString ReadManifest(const QByteArray &content, ReleaseManifest &manifest);

/// Reads what a complete manifest says before its first path. Of the others, and of one whose first
/// lines ReadManifest() would refuse, nothing is read.
///
/// Returns whether that went well. The lists of \a manifest are empty then, whatever it lists.
bool ReadManifestHead(const QByteArray &content, ReleaseManifest &manifest);

/// Returns the record of a \a file as ParseMd5File() gives it.
tagDownloadFileInfo ManifestRecord(const ManifestFile &file);

/// Returns why a release cannot have a file with the permission bits \a mode, or empty text. The
/// owner must be able to read it, and nobody else may write it.
QString FileModeReason(int mode);

/// The same for a folder, which its owner must also be able to enter.
QString FolderModeReason(int mode);
