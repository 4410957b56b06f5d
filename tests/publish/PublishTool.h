// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/TestFiles.h"

#include <QByteArray>
#include <QMap>
#include <QStringList>

/// \file
/// Runs the real publish_update and looks at the result.

/// How a run of the program ended.
struct ToolRun {
    int exitCode = -1; ///< -1 if it did not end by itself
    QByteArray output;
    QByteArray errors;
};

/// Runs publish_update with \a arguments until it ends, for \a seconds at most. The program's
/// command line is appended to a \a wrapper.
ToolRun RunPublish(const QStringList &arguments, const QStringList &wrapper = {}, int seconds = 60);

/// The path of the program.
QString PublishProgram();

/// The lines of the manifest that list a file with the mode 0644.
QByteArray FileLines(const QByteArray &path, const QByteArray &content,
                     const QByteArray &mode = "0644");

/// The first lines of the manifest of PublishArguments().
QByteArray HeadLines();

/// The arguments that publish \a releaseDir as version 3.10.25 in \a outputDir.
QStringList PublishArguments(const QString &releaseDir, const QString &outputDir);

/// A wrapper that makes file permissions apply to root too.
QStringList WithoutRootsRights();

/// The path as the program's messages show it.
QString Quoted(const QString &path);

/// Returns the files below \a folder with their contents, and its folders with the content "/".
QMap<QString, QByteArray> FilesBelow(const QString &folder);
