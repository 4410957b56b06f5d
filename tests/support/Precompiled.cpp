// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

// The source that CMake wants beside a precompiled header.
