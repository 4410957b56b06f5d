// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// What --help prints: the usage of every form, the options, the exit codes and an example.
QString HelpText();
