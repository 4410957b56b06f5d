// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// \file
/// Which paths of a release can be written in a manifest, fetched by it and stored on every file
/// system. Publishing and updating use the same checks. Callable on any thread.

/// How many bytes a name may have as a volume stores it, decomposed: there is room for ".old"
/// behind it, which the worker puts there.
constexpr int LongestName = 255 - 4;

/// How many bytes a whole path may have, so that no system finds it too long by itself.
constexpr int LongestPath = 1023;

/// Returns why \a path must not be part of a release, or empty text when it is safe.
///
/// A safe path is relative, names a file with '/' between its components, leaves nothing out by "."
/// or "..", comes unchanged through the manifest and a web address, and leaves room for ".old"
/// behind each of its names. It has at most LongestPath bytes. The text does not repeat the path.
QString UnsafePathReason(const QString &path);

/// Returns why the files \a paths cannot stand in one installation together, or empty text when
/// they can.
///
/// Refused are the names of the manifest and its signature at the top, names that are equal but for
/// letter case or Unicode normalisation, a path that is the folder of another, and a path beside
/// the name that its
/// ".old" copy would take. The text names the paths. Every path is taken to be safe by itself.
QString CollisionReason(const QStringList &paths);

/// Returns what a volume that ignores letter case and normalisation takes for the same path.
QString FoldedPath(const QString &path);

/// Returns why the first name of \a path cannot stand at the top of a release, or empty text. The
/// text names the path.
QString TakenNameReason(const QString &path);

/// Returns why a link cannot have the \a target wherever it stands, or empty text: it is relative,
/// and its names are ones that a release can have. The text continues "link NAME ...".
QString LinkTargetReason(const QString &target);
