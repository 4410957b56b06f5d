// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "publish/ReleaseScan.h"

#include <QStringList>

/// Returns why the files, links and folders of a release cannot be in one installation, one text
/// for each reason: names that differ only in letter case or normalisation, or that an installation
/// needs itself, and links that do not lead, physically followed, to something in the release.
/// Reading a manifest finds the same problems, but stops at the first.
///
/// \a folders  all folders of the release, including those that a manifest does not list.
QStringList TreeProblems(const QVector<ReleaseFile> &files, const std::vector<ManifestLink> &links,
                         const QStringList &folders);
