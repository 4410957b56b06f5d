// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QDir>
#include <QMap>
#include <QNetworkAccessManager>
#include <QString>
#include <QUrl>

/// \file
/// The blocking HTTP fetch, the MD5 manifest and the MD5 texts. Nothing here keeps state between
/// calls, throws or logs.

/// One file of an update. A plain value; its size is stored for the record's consumers and is
/// never compared in this module.
struct tagDownloadFileInfo {
    QString path;         ///< relative, '/' between components, no leading '/'; also the map key
    quint32 sizeHigh = 0; ///< upper 32 bits of the size in bytes
    quint32 sizeLow = 0;  ///< lower 32 bits of the size in bytes
    QByteArray md5;       ///< MD5 text as Md5Hash() makes it, taken as written, unchecked
};

/// Sends one HTTP request and waits until it has finished or \a timeout has run out.
///
/// \a manager          sends the request; stays the caller's and may serve many calls.
/// \a url              the address; redirects are not followed.
/// \a data             replaced by the whole body on success; untouched on failure.
/// \a error            set only on failure; untouched on success.
/// \a timeout          seconds; 0 or less waits without limit.
/// \a headers          raw request headers, sent in ascending order of their names.
/// \a verb             the HTTP method, sent unchanged.
/// \a body             the request body, allowed with every verb.
/// \a responseHeaders  may be null; gets the response headers on success; not cleared first.
///                     A repeated name keeps its last entry (the network layer gives one only,
///                     with the values joined).
///
/// Returns true for HTTP status 200 and false for everything else. A request that ran out of time
/// is left to end unobserved. Blocks in a local event loop: call on the thread that owns
/// \a manager, and do not re-enter for the same manager.
bool GetFileByUrl(QNetworkAccessManager &manager, QUrl url, QByteArray &data, QString &error,
                  qint32 timeout, QMap<QByteArray, QByteArray> headers, QByteArray verb,
                  QByteArray body, QMap<QByteArray, QByteArray> *responseHeaders);

/// Reads a whole MD5 manifest: lines of MD5 text, size in hexadecimal and path, separated by TAB.
///
/// Returns the records by path; of several lines for one path the last one counts. Lines that do
/// not have exactly three fields are skipped; a size that is not a hexadecimal number reads as 0.
/// Never fails. Callable on any thread.
QMap<QString, tagDownloadFileInfo> ParseMd5File(QByteArray content);

/// Returns the records of \a update whose files must be fetched into \a root.
///
/// \a localManifest  path of the installation's own manifest; may be missing. This
///                   manifest is trusted for every file it lists; only the others are hashed.
/// \a root           the installation; record paths are resolved against it.
///
/// A file that cannot be read counts as one to fetch. Reads files, never writes. Callable on any
/// thread; takes as long as reading the files that the local manifest does not list.
QMap<QString, tagDownloadFileInfo> CheckMd5(QMap<QString, tagDownloadFileInfo> update,
                                            QString localManifest, QDir root);

/// Returns whether the file at \a path can be read and its MD5 text is exactly \a md5.
///
/// The file is read whole into memory. Letter case and blanks count. Callable on any thread.
bool CheckFileMd5(QString path, QByteArray md5);

/// Returns the MD5 text of \a data: 32 lower-case hexadecimal digits.
///
/// Each group of four digest bytes is reversed compared with the usual MD5 text, on every machine;
/// the two forms never compare equal. Callable on any thread.
QByteArray Md5Hash(QByteArray data);

/// Returns what Md5Hash() would give for data whose 16-byte MD5 \a digest was computed elsewhere,
/// piece by piece. Callable on any thread.
QByteArray Md5Text(const QByteArray &digest);

/// Converts every byte of the NUL-terminated \a text to upper case, in place, as the current locale
/// classifies characters. Null and empty text are allowed. Returns \a text.
char *strupr(char *text);

/// Converts every byte of the NUL-terminated \a text to lower case, in place, as the current locale
/// classifies characters. Null and empty text are allowed. Returns \a text.
char *strlwr(char *text);
