// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

class QDialog;
class QWidget;

/// Gives \a dialog and its widgets what the shared look leaves open: buttons and bars painted by
/// CDialogStyle, labels that show one line (CLabelLine), and a place in the middle of the screen
/// that the pointer is on. Palettes stay those of the application.
///
/// Call it once, when all widgets are made. The style is made when the dialog is first shown: one
/// that never is costs next to nothing.
void UseDialogLook(QDialog &dialog);

/// Paints the face of all dialogs: the image ":/update_bg", unscaled, at the top-left corner. On a
/// dense screen the picture is smoothed.
///
/// Call it from the paintEvent() of \a dialog, in place of the base class's. Without the image it
/// paints nothing, and the dialog keeps its default background.
void PaintDialogFace(QWidget &dialog);
