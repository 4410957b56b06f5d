// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

class QDialog;
class QWidget;

/// Gives \a dialog and its widgets what the shared look leaves open: light colours, whatever the
/// desktop's theme is, because all text is black; and labels that show one line, with an ellipsis
/// where it is cut. On a dark desktop the widgets are not drawn in the native style, which may not
/// know light colours then.
///
/// Call it once, when all widgets are made.
void UseDialogLook(QDialog &dialog);

/// Paints the face of all dialogs: the image ":/update_bg", unscaled, at the top-left corner.
///
/// Call it from the paintEvent() of \a dialog, in place of the base class's. Without the image it
/// paints nothing, and the dialog keeps its default background.
void PaintDialogFace(QWidget &dialog);
