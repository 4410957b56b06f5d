// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// \file
/// The first and the last line of a session's log, as HostBundle::log() returns them.

inline const QString StartMarker =
    QStringLiteral("I ----------------更新程序启动------------------");

/// \a number  of the outcome, in decimal digits.
inline QString Marker(const QString &number)
{
    return QStringLiteral("I ----------------更新程序关闭%1------------------").arg(number);
}
