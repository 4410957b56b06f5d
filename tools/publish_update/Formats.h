// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "core/Func.h"

#include <QStringList>

#include <vector>

/// \file
/// How the manifest and the update description of a release are written, and what is wrong with
/// published ones. Callable on any thread.

/// The update description of a release.
struct UpdateDescription {
    int version = 0;
    QString versionString;
    QString folder;
    int minVersion = 0;
    QString downloadUrl;
};

/// Returns the size of the file that \a record stands for.
quint64 FileSize(const tagDownloadFileInfo &record);

/// Returns the content of update_md5.info that lists the \a records.
QByteArray ManifestContent(const std::vector<tagDownloadFileInfo> &records);

/// Returns the content of update.json that says what \a description says.
QByteArray DescriptionContent(const UpdateDescription &description);

/// Returns what is wrong with the published update.json in \a content, one text each.
///
/// \a description  gets what could be read.
QStringList DescriptionProblems(const QByteArray &content, UpdateDescription &description);

/// Returns what is wrong with the published update_md5.info in \a content, one text each: lines
/// that an updater would pass over or misread, and paths that it refuses.
QStringList ManifestProblems(const QByteArray &content);

/// Returns why \a url is no address to send users to, or empty text when it is an https address.
QString DownloadUrlReason(const QString &url);

/// Returns why \a folder cannot be the name of a release's folder beside update.json, or empty
/// text.
QString FolderReason(const QString &folder);
