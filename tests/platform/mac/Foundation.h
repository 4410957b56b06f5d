// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// Makes the main bundle read the property list in the folder above the executable's, once, and
/// numbers in texts end where an int does. The variable TRIES makes the data directory hard to
/// find.
void InstallFoundationStandIns();
