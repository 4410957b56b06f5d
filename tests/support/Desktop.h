// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/ChildProcess.h"

#include <QRect>
#include <QString>

/// A private X server (Xvfb) and a user who works on it with mouse and keyboard (xdotool). Every
/// wait gives up after some seconds and returns empty or false.
class Desktop {
public:
    /// Starts the X server. \a dpi is the dots per inch it claims.
    explicit Desktop(int dpi = 96);
    ~Desktop();
    Q_DISABLE_COPY(Desktop)

    /// Whether the X server could be started.
    bool isUp() const { return !m_display.isEmpty(); }
    /// Returns \a environment, changed so that a program shows its windows here.
    QProcessEnvironment shownIn(QProcessEnvironment environment) const;
    qint64 processId() const { return m_server.processId(); }

    /// Waits for a visible window titled exactly \a title and returns its id.
    QString waitForWindow(const QString &title) const;
    /// Waits for a visible window of a program, for those without a title, and returns its id.
    QString waitForWindowOf(const QString &program) const;
    /// Waits until no visible window is titled \a title.
    bool waitForNoWindow(const QString &title) const;
    /// Whether a visible window titled \a title is there now.
    bool hasWindow(const QString &title) const;

    /// In pixels of the screen.
    QRect geometry(const QString &window) const;
    /// Clicks at \a position, in pixels from the window's corner.
    void click(const QString &window, QPoint position) const;
    /// Gives the window the keyboard and presses a key, as xdotool names it.
    void press(const QString &window, const QString &key) const;
    /// Asks the window to close, as a window manager does. False when that did not reach it.
    bool close(const QString &window) const;
    /// Writes a picture of the whole screen, as PNG.
    bool screenshot(const QString &path) const;

private:
    void tellDensity(int dpi) const;
    QByteArray xdotool(const QStringList &arguments) const;
    QString find(const QString &property, const QString &value) const;
    QString await(const QString &property, const QString &value) const;

    ChildProcess m_server;
    QString m_display;
};
