// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "core/Func.h"

#include <QStringList>

#include <vector>

/// \file
/// How the manifest and the update description of a release are written, and what is wrong with
/// published ones. Callable on any thread.

/// The size from which on a file cannot be updated: one body is held whole in a byte array, which
/// has room for a little less than 2 GiB.
constexpr qint64 TooLargeSize = (qint64{1} << 31) - 64;

/// That size in words, to stand behind what has it.
const QString TooLargeText = QStringLiteral("of almost 2 GiB (2,147,483,584 bytes) and more");

/// How many bytes an update.json may have; a longer one is refused unread.
constexpr qint64 LongestDescription = qint64{1} << 20;

/// What the names of the publisher's own files beside the releases begin with.
const QString WorkspacePrefix = QStringLiteral(".publish_update");

/// The update description of a release as it is published.
struct PublishedDescription {
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
QByteArray DescriptionContent(const PublishedDescription &description);

/// Returns what is wrong with the published update.json in \a content, one text each.
///
/// \a description  gets what could be read.
QStringList DescriptionProblems(const QByteArray &content, PublishedDescription &description);

/// Returns what is wrong with the published update_md5.info in \a content, one text each: lines
/// that an updater would pass over or misread, and what it refuses or this program would not write.
QStringList ManifestProblems(const QByteArray &content);

/// Returns why \a url is no address to send users to, or empty text when it is an https address.
QString DownloadUrlReason(const QString &url);

/// Returns why \a folder cannot be the name of a release's folder beside update.json, or empty
/// text.
QString FolderReason(const QString &folder);
