// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Replacement.h"
#include "tests/engine/EngineFixture.h"

/// Returns the content of the manifest that lists these files.
QByteArray ManifestOf(const FileMap &files);

/// Returns what a server holds when these files are published as the folder "release".
FileMap Published(const FileMap &files);

/// Returns the file as FindReplacements() would, where \a before stood in its place (null for
/// nothing).
Replacement ReplacementOf(const QString &path, const QByteArray &before, const QByteArray &content);

/// Returns the first file of an installation of which neither the content \a before nor the one of
/// the \a release is whole, under its name or as ".old" copy; empty text when nothing is lost.
QString LostFile(const FileMap &before, const FileMap &release, const QDir &install);

/// Returns an installation that was updated from the files \a before to the \a release: its ".old"
/// copies and its manifest included.
FileMap Updated(const FileMap &before, const FileMap &release);

/// Lays the files in a folder, with the manifest that lists them.
void LayInstallation(const QDir &folder, const FileMap &files);

/// Returns \a tree without ".old" copies and without the manifest at the top.
FileMap WithoutKept(const FileMap &tree);
