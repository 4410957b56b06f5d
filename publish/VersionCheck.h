// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Returns why \a version is no version at all, or empty text when it is one: numbers separated by
/// dots.
QString NotAVersionReason(const QString &version);

/// Returns what the number made of the \a version loses of it, or empty text when nothing is lost.
///
/// The number of the host application is made the same way, so that a version which loses something
/// may compare equal to an older or a newer one. The text is taken to be a version.
QString LossyVersionReason(const QString &version);
