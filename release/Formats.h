// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "core/Func.h"

#include <QStringList>

#include <vector>

/// \file
/// Writing the manifest and the update description of a release, and finding the faults of
/// published ones. Callable on any thread.

/// Files of this size or more cannot be updated: one body is held whole in a byte array, which has
/// room for a little less than 2 GiB.
constexpr qint64 TooLargeSize = (qint64{1} << 31) - 64;

/// That size in words, as in "files %1 cannot be updated".
const QString TooLargeText = QStringLiteral("of almost 2 GiB (2,147,483,584 bytes) and more");

/// The largest update.json in bytes; a longer one is refused unread.
constexpr qint64 LongestDescription = qint64{1} << 20;

/// The prefix of the names of the publisher's own files beside the releases.
const QString WorkspacePrefix = QStringLiteral(".publish_update");

/// The update description of a release as it is published.
struct PublishedDescription {
    int version = 0;
    QString versionString;
    QString folder;
    int minVersion = 0;
    QString downloadUrl;
};

/// Returns the size of the file that \a record describes.
quint64 FileSize(const tagDownloadFileInfo &record);

/// Returns the content of update_md5.info that lists the \a records.
QByteArray ManifestContent(const std::vector<tagDownloadFileInfo> &records);

/// Returns the content of update.json that says what \a description says.
QByteArray DescriptionContent(const PublishedDescription &description);

/// Returns what is wrong with the published update.json in \a content, one text for each fault.
///
/// \a description  receives what could be read.
QStringList DescriptionProblems(const QByteArray &content, PublishedDescription &description);

/// Returns what is wrong with the published update_md5.info in \a content, one text for each fault:
/// lines that an updater would skip, misread or refuse, or that this program would not write.
QStringList ManifestProblems(const QByteArray &content);

/// Returns why users cannot be sent to \a url, or empty text when it is an https address.
QString DownloadUrlReason(const QString &url);

/// Returns why \a folder cannot be the name of a release's folder beside update.json, or empty
/// text.
QString FolderReason(const QString &folder);
