// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ui/UpdateProgress.h"

#include <QColor>
#include <QPixmap>
#include <QString>

#include <functional>

/// What is done to one button of a dialog before its picture is taken.
enum class Gesture {
    None,
    Hover, ///< the mouse is over it
    Press, ///< the mouse is held down on it
    Focus, ///< the keyboard has moved to it
};

/// The notice; \a gesture is made to the button with the object name \a button.
QPixmap Notice(bool mandatory, const QString &version, Gesture gesture = Gesture::None,
               const char *button = "");

/// The error dialog. Texts are UTF-8.
QPixmap Error(const char *title, const char *message, bool retry, const char *url = "",
              Gesture gesture = Gesture::None, const char *button = "");

/// The error dialog with the tool tip that the mouse brings up over the cut \a message.
QPixmap ErrorWithToolTip(const char *title, const char *message);

/// The progress dialog after \a set, with a worker that waits for a server that never answers.
QPixmap Progress(const std::function<void(CUpdateProgress &)> &set,
                 Gesture gesture = Gesture::None);

/// The icon on \a paper, at the sizes in which desktops show it.
QPixmap Icons(const QColor &paper);
