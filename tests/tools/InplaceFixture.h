// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/engine/EngineFixture.h"
#include "tools/inplace_update/Replacement.h"

/// Returns the content of the manifest that lists these files.
QByteArray ManifestOf(const FileMap &files);

/// Returns what a server holds when these files are published as the folder "release".
FileMap Published(const FileMap &files);

/// Returns the file as FindReplacements() would, where \a before stood in its place (null for
/// nothing).
Replacement ReplacementOf(const QString &path, const QByteArray &before, const QByteArray &content);

/// Returns \a tree without ".old" copies and without the manifest at the top.
FileMap WithoutKept(const FileMap &tree);
