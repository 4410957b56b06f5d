// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Replacement.h"

/// Takes back what is not finished of the \a replacements that an interrupted run left in
/// \a install, so that each name holds either what was there before or the release's content.
///
/// What is done already stays done, and gets its mode if that is still to be given. Returns what
/// could not be taken back, or empty text.
QString TakeBackUnfinished(const QList<Replacement> &replacements, const QDir &install);

/// Takes back all \a replacements, done or not: files get their ".old" content back, new ones and
/// the folders made for them are removed.
///
/// \a changed  set to whether anything had to be taken back.
/// Returns what could not be taken back, or empty text.
QString TakeBackAll(const QList<Replacement> &replacements, const QDir &install, bool &changed);
