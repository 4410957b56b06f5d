// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// Makes the standard streams safe to write to, whatever the host application left of them.
///
/// Closed streams are opened on the null device; otherwise the next socket or file would get their
/// number. Writing to a closed pipe fails instead of ending the process. Call this before anything
/// else, on the main thread.
void PrepareStandardStreams();
