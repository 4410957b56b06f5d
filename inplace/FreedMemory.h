// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// Makes freed blocks of 128 KiB and more go back to the system at once. Otherwise the C library of
/// Linux keeps more and more of them as a program runs, and the former body of a download stays in
/// memory while the next one arrives. Does nothing on macOS, which gives them back anyway. Call
/// first in main().
void ReturnFreedMemory();
