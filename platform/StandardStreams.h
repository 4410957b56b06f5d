// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// Makes the standard streams safe to write to, whatever the host application left of them.
///
/// Streams that are closed are opened on the null device, or the next socket or file would take
/// their number; writing to a reader that has gone away fails and does not end the process.
/// Call first of all, on the main thread.
void PrepareStandardStreams();
