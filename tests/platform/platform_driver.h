// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>

/// Executes the arguments one after the other and returns the exit code of the program: 0, or 2
/// when an argument is unknown or its work failed.
///
/// The platform functions keep their first results, so each scenario is a run of a driver program:
/// "home", "home length", "version", "number", "disk id" and "uuid" print "NAME=RESULT" lines,
/// "caption" hides a title bar, "ordinary user" gives up root's rights, "remove PATH",
/// "change HOME TEXT" and "go to FOLDER" change what a second call could see.
int RunDriverCommands(int argc, char **argv);

/// Returns the view whose title bar "caption" hides. Each driver has its own.
std::uintptr_t DriverView();
