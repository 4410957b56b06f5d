// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QPalette>

/// Gives the application the colors of another desktop while it lives.
class DesktopColors {
public:
    explicit DesktopColors(const QPalette &palette);
    ~DesktopColors();
    Q_DISABLE_COPY_MOVE(DesktopColors)

    static QPalette dark();

    /// Adds the columns "name" and "palette" with two rows a dialog: one on a light desktop, one on
    /// a dark one.
    static void addRows();

private:
    QPalette m_before;
};
