// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QFile>
#include <QString>

/// \file
/// Calls of the system whose reason of failure must not get lost. Callable on any thread.

/// Returns the text of the error that the last call of the system in this thread left.
QString SystemError();

/// Makes a folder in one that exists. Returns whether that went well; SystemError() says why not.
bool MakeFolder(const QString &path);

/// Moves a file or folder at one stroke; a file in the way is replaced. Returns whether that went
/// well; SystemError() says why not.
bool Move(const QString &from, const QString &to);

/// Writes a whole block to an open file. Returns whether that went well; SystemError() says why
/// not.
bool WriteAll(int descriptor, const char *block, std::size_t length);
