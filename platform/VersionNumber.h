// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// Turns a version text of up to three numbers into one: major * 1000000 + minor * 10000 + patch.
///
/// A text without a dot gives 0, one with a single dot its major number alone; what follows the
/// third number is ignored. Each number is read as the platform's own `intValue` reads it: leading
/// blanks are skipped, then one sign and the digits count; no digits give 0, and a number that does
/// not fit in an int becomes the nearest int. Numbers spill into their neighbours unchecked and the
/// sum wraps in 32 bits. Null gives 0. Callable on any thread.
///
/// Examples: 3.10.25 gives 3100025, 10.5 gives 10000000, 5 gives 0, 1.2.3.4 gives 1020003.
int VersionNumber(const char *text);
