// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/// One file of a release as it lies in the release folder.
struct ReleaseFile {
    QString path; ///< relative to the release folder, '/' between components
    qint64 size = 0;
};

/// What a release folder holds.
struct ReleaseContents {
    QVector<ReleaseFile> files; ///< in ascending order of their paths
    QStringList links;          ///< symbolic links with their targets, which are not published
    QStringList problems;       ///< one text for each thing that must not be published
};

/// Looks through \a folder, hidden files included, without following symbolic links. Everything
/// that must not be published, or cannot be looked at, becomes a problem.
ReleaseContents ScanRelease(const QString &folder);
