// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Returns why \a version is not a version, or empty text if it is one: numbers separated by dots.
QString NotAVersionReason(const QString &version);

/// Returns what is lost when \a version becomes a number, or empty text if nothing is.
///
/// The host application's number is made the same way, so a version that loses something may
/// compare equal to an older or newer one. The text must be a version.
QString LossyVersionReason(const QString &version);
