// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// Whether a file with this beginning is a program or a script.
bool BeginsLikeAProgram(const QByteArray &beginning);

/// Makes the file \a name in the open folder executable for all who may read it, if it is a program
/// or a script. For files of old manifests, which have no modes. A file that cannot be read or
/// changed stays as it is. Callable on any thread.
void MakeProgramExecutable(int folder, const char *name);
