// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

class QWidget;

/// Paints the face of all dialogs: the image ":/update_bg", unscaled, at the top-left corner.
///
/// Call it from the paintEvent() of \a dialog, in place of the base class's. Without the image it
/// paints nothing, and the dialog keeps its default background.
void PaintDialogFace(QWidget &dialog);
