// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// A progress line on standard error; nothing if that is not a terminal.
class ProgressBar {
public:
    ProgressBar();
    /// Clears the line.
    ~ProgressBar();
    Q_DISABLE_COPY(ProgressBar)

    /// Shows \a done of \a total, in the same unit, followed by \a text.
    void show(qint64 done, qint64 total, const QString &text) const;

private:
    const bool m_visible;
};
