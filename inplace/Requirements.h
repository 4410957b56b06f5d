// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Replacement.h"

/// Returns why files cannot go from \a staging to \a install, or empty text.
///
/// The installation must exist; the staging folder is made if missing. Neither may lie in the
/// other.
QString FoldersReason(const QDir &staging, const QDir &install);

/// Removes symbolic links from \a staging: the worker would follow them to what they point at.
void RemoveLinks(const QDir &staging);

/// Returns why files cannot be put into \a install, or empty text: a link to nothing stands in the
/// place of one, and the worker would write through it, wherever it leads.
QString LinksReason(const QList<Replacement> &replacements, const QDir &install);

/// Returns the bytes that are still to be fetched into \a staging.
quint64 BytesToFetch(const QList<Replacement> &replacements, const QDir &staging);

/// Returns why there is too little room for \a replacements, or empty text. There must be room for
/// twice the bytes that are written to a volume, and 64 MiB to spare.
QString RoomReason(const QList<Replacement> &replacements, const QDir &staging,
                   const QDir &install);
