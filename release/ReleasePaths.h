// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

/// \file
/// Checks that the paths of a release can be written in a manifest, fetched and stored on every
/// file system. Publishing and updating use the same checks. Callable on any thread.

/// The longest name in bytes, in the decomposed form that a volume may store: the worker must be
/// able to append ".old".
constexpr int LongestName = 255 - 4;

/// The longest path in bytes: no system refuses a relative path of this length.
constexpr int LongestPath = 1023;

/// Returns why \a path must not be part of a release, or empty text when it is safe.
///
/// A safe path is relative, has '/' between its components and no "." or ".." among them, survives
/// the manifest and a web address unchanged, and leaves room for ".old" behind each of its names.
/// It has at most LongestPath bytes. The text does not repeat the path.
QString UnsafePathReason(const QString &path);

/// Returns why the files \a paths cannot be in one installation together, or empty text when they
/// can.
///
/// Refuses the names of the manifest and its signature at the top, names that differ only in letter
/// case or Unicode normalisation, a path that is the folder of another, and a path whose ".old"
/// copy would take the name of another. The text names the paths. Every path must be safe by
/// itself.
QString CollisionReason(const QStringList &paths);

/// Returns a text that is equal for all paths that are the same to a volume that ignores letter
/// case and normalisation.
QString FoldedPath(const QString &path);

/// Returns why the first name of \a path cannot be at the top of a release, or empty text. The text
/// names the path.
QString TakenNameReason(const QString &path);

/// Returns why no link can have the \a target, wherever the link is, or empty text when the target
/// is relative and has only characters that a path may have. The text continues "link NAME ...".
QString LinkTargetReason(const QString &target);
