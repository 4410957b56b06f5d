// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/inplace/Trees.h"

#include <QtGlobal>

/// Returns an edition, from 1 on, of a bundle with about so many entries of every kind. From one
/// edition to the next, some entries of each kind stay, change, appear, disappear, get another
/// mode, become another kind, or change only the letter case of their names.
TestRelease ManyKinds(int edition, int entries);

/// Returns the value of an environment variable, or \a otherwise if it is not set.
int Setting(const char *name, int otherwise);

/// Returns a folder on another volume than the temporary one, or empty text if there is none.
QString OtherVolume();
