// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/ReleaseScan.h"

#include <QStringList>

/// Returns why the files, links and folders of a release cannot stand in one installation, one text
/// for each reason: names that are equal but for letter case or normalisation, or that an
/// installation needs itself, and links that do not end, physically followed, at something of the
/// release. Reading a manifest finds the same, but ends at the first.
///
/// \a folders  all folders of the release, also those that a manifest does not list.
QStringList TreeProblems(const QVector<ReleaseFile> &files, const std::vector<ManifestLink> &links,
                         const QStringList &folders);
