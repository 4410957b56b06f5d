// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QColor>
#include <QList>
#include <QString>

/// A desktop on which the dialogs are looked at: one column of the gallery.
struct Look {
    const char *name;  ///< also part of the file names
    const char *title; ///< the column's head
    const char *scale; ///< device pixels to a pixel, as QT_SCALE_FACTOR takes it
    bool dark;         ///< has a dark palette
    int fontSize;      ///< of the application's font, in points
};

const QList<Look> &AllLooks();

/// The look of this name; the first one if there is none.
const Look &FindLook(const QString &name);

/// Gives the running application the palette and font of \a look. Its scale is set at the start of
/// the program only, through the environment.
void WearLook(const Look &look);

/// The colour of the desktop around the windows.
QColor DesktopColor();
