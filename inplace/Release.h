// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "core/Func.h"

/// A release as it is published.
struct Release {
    QString filesUrl;                         ///< address of its files, which ends in '/'
    QByteArray manifest;                      ///< content of its update_md5.info
    QMap<QString, tagDownloadFileInfo> files; ///< what the manifest lists; all paths are safe
};

/// Fetches update.json below \a baseUrl and the manifest of the release that it names.
///
/// Returns why that failed, or empty text. A manifest that lists nothing, a path that must not be
/// fetched or stored or a file that is too large for the worker is a failure, and so is an answer
/// that broke off or is too long. Blocks in local event loops.
QString FetchRelease(const QString &baseUrl, Release &release);

/// Returns why not all \a files may be fetched and stored, as a text for the user, or empty text.
/// Callable on any thread.
QString UnsafePathText(const QMap<QString, tagDownloadFileInfo> &files);
