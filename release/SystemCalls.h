// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QFile>
#include <QString>

/// \file
/// System calls whose reason for failure must not get lost. Callable on any thread.

/// Returns the text of the error that this thread's last system call left.
QString SystemError();

/// Makes a folder in an existing one. Returns whether that succeeded; SystemError() says why not.
bool MakeFolder(const QString &path);

/// Moves a file or folder atomically; a file in the way is replaced. Returns whether that
/// succeeded; SystemError() says why not.
bool Move(const QString &from, const QString &to);

/// Writes a whole block to an open file. Returns whether that succeeded; SystemError() says why
/// not.
bool WriteAll(int descriptor, const char *block, std::size_t length);
