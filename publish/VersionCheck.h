// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Returns why \a version is no version at all, or empty text when it is one: numbers separated by
/// dots.
QString NotAVersionReason(const QString &version);

/// Returns what is lost when the \a version becomes a number, or empty text if nothing is lost.
///
/// The number of the host application is made the same way, so that a version which loses something
/// may compare equal to an older or a newer one. The text must be a version.
QString LossyVersionReason(const QString &version);
