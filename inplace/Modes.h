// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "inplace/Replacement.h"

/// Returns whether a file that begins with these bytes is a program: Mach-O, ELF or a script.
bool BeginsLikeAProgram(const QByteArray &beginning);

/// Gives a file that was just put into \a install its mode: that of its ".old" copy when it has
/// replaced something; otherwise, for a program, everyone who may read it may execute it.
///
/// Manifests carry no modes. False when the mode cannot be set.
bool SettleMode(const Replacement &replacement, const QDir &install);
