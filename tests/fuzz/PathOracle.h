// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QStringList>

/// Returns which rule the \a paths break when they are fetched from a release's folder and stored
/// in one installation, or null. Written without the project's own checks, by walking each path as
/// a file system and a web client would.
///
/// Of the letters that a volume holds for one, those of Latin-1, Greek and Cyrillic are known.
const char *BrokenPathRule(const QStringList &paths);
