// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/inplace/Trees.h"

#include <QtGlobal>

/// Returns an edition, from 1 on, of a bundle with about so many entries of every kind. From one
/// edition to the next, of each kind some stay, change, come, go, get another mode, become one of
/// another kind, and change their names in letter case alone.
TestRelease ManyKinds(int edition, int entries);

/// Returns the value of an environment variable, or \a otherwise when it is not given.
int Setting(const char *name, int otherwise);

/// Returns a folder on another volume than the temporary one, or empty text when there is none.
QString OtherVolume();
