// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/TestFiles.h"

#include <QByteArray>
#include <QMap>
#include <QStringList>

/// \file
/// Runs the real publish_update, and looks at what it leaves.

/// How a run of the program ended.
struct ToolRun {
    int exitCode = -1; ///< -1 when it did not end by itself
    QByteArray output;
    QByteArray errors;
};

/// Runs publish_update with \a arguments to its end, in \a seconds at most. A \a wrapper is a
/// command that the program's own command line is put behind.
ToolRun RunPublish(const QStringList &arguments, const QStringList &wrapper = {}, int seconds = 60);

/// The path of the program.
QString PublishProgram();

/// The lines of the manifest that list a file with the mode 0644.
QByteArray FileLines(const QByteArray &path, const QByteArray &content,
                     const QByteArray &mode = "0644");

/// The lines that the manifest of PublishArguments() begins with.
QByteArray HeadLines();

/// The arguments that publish \a releaseDir as version 3.10.25 in \a outputDir.
QStringList PublishArguments(const QString &releaseDir, const QString &outputDir);

/// A wrapper under which the rights of files bind root too.
QStringList WithoutRootsRights();

/// The path as the program's messages show it.
QString Quoted(const QString &path);

/// Returns the files below \a folder with their contents, and its folders with the content "/".
QMap<QString, QByteArray> FilesBelow(const QString &folder);
