// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// \file
/// Which paths of a release can be written in a manifest, fetched by it and stored on every file
/// system. Publishing and updating use the same checks. Callable on any thread.

/// Returns why \a path must not be part of a release, or empty text when it is safe.
///
/// A safe path is relative, names a file with '/' between its components, leaves nothing out by "."
/// or "..", comes unchanged through the manifest and a web address, and leaves room for ".old"
/// behind each of its names. The text does not repeat the path.
QString UnsafePathReason(const QString &path);

/// Returns why the files \a paths cannot stand in one installation together, or empty text when
/// they can.
///
/// Refused are the manifest's own name at the top, names that are equal but for letter case or
/// Unicode normalisation, a path that is the folder of another, and a path beside the name that its
/// ".old" copy would take. The text names the paths. Every path is taken to be safe by itself.
QString CollisionReason(const QStringList &paths);
