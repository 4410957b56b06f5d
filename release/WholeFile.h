// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Puts \a content under the name \a path at one stroke: whoever looks sees the file that was there
/// or the whole new one, also after the process or the machine was stopped at any moment.
///
/// \a scratch  a name on the same volume for the work; what an interrupted run left there is
///             written over.
/// Returns why that failed, or empty text; the file that was there is untouched then.
QString WriteWholeFile(const QString &path, const QString &scratch, const QByteArray &content);
