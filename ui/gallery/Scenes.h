// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDialog>
#include <QList>
#include <QPixmap>

#include <functional>

/// A state in which a person may see a dialog: one row of the gallery.
struct Scene {
    const char *name;  ///< also part of the file names
    const char *title; ///< the row's head
    std::function<QPixmap()> render;
};

const QList<Scene> &AllScenes();
