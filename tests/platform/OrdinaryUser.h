// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

/// Permanently drops root's privileges: from now on, file permissions apply. The process keeps its
/// user, and so its files. Ends the program if that is refused.
void BecomeOrdinaryUser();
