// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "core/Func.h"

#include <QList>

/// One file of the installation that an update replaces or adds, and what was there before.
struct Replacement {
    enum class Before { Nothing, File, Other }; ///< Other: a folder, or what cannot be read

    tagDownloadFileInfo file;
    Before before = Before::Nothing;
    QByteArray oldMd5;  ///< of a File
    QString madeFolder; ///< topmost folder that is missing for it, relative; empty when none is
};

/// What stands under a file's name in the installation.
enum class Standing {
    Before,  ///< what was there before, which may be nothing
    New,     ///< the content of the release
    Nothing, ///< though something was there before
    Strange, ///< neither, such as a copy that broke off
};

/// Returns the MD5 text of a file of any size; empty when it cannot be read.
QByteArray FileMd5(const QString &path);

/// Returns the \a files of a release that the installation \a install lacks or has otherwise.
///
/// \a localManifest  path of the manifest to believe for the files it lists, as CheckMd5() does.
///
/// A file that is right already is left out whatever that manifest says: replacing it by itself
/// would put the new content in the place of its ".old" copy.
QList<Replacement> FindReplacements(const QMap<QString, tagDownloadFileInfo> &files,
                                    const QString &localManifest, const QDir &install);

/// Returns what stands in \a install under the name of the \a replacement. Reads the file.
Standing StandingOf(const Replacement &replacement, const QDir &install);

/// Returns the path of the ".old" copy in \a install.
QString KeptPath(const Replacement &replacement, const QDir &install);
