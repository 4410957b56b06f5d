// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// Writes a file, new or over the old one, with its folders. Aborts the test when that fails.
void WriteFile(const QString &path, const QByteArray &content);

/// Returns the content of a file; null when it cannot be read.
QByteArray ReadFile(const QString &path);
