// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// Gives up what sets root apart, for good: from now on the permissions of files count. The files
/// of the process's user stay its own. Ends the program when that is refused.
void BecomeOrdinaryUser();
