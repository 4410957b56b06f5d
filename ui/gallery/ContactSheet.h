// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDir>
#include <QString>

/// The file name of a picture of the gallery.
QString PictureName(const QString &look, const QString &scene);

/// Writes index.html and contact-sheet.png, a table of all pictures in \a folder, one row a scene
/// and one column a look. Returns false when a picture is missing or a file cannot be written.
bool WriteContactSheet(const QDir &folder);
