// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// Whether a file that begins so is a program or a script.
bool BeginsLikeAProgram(const QByteArray &beginning);

/// Makes the file \a name in the open folder executable for all who may read it, if it is a program
/// or a script: what an old manifest lists, which knows no modes, is made so. What cannot be read
/// or changed stays as it is. Callable on any thread.
void MakeProgramExecutable(int folder, const char *name);
