// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The start of the host application at the end of a run, however it ends.
class HostStart {
public:
    /// Remembers this program's own path, which an update may change: create the object right after
    /// the application object.
    ///
    /// \a program  resolved against \a install if relative; empty starts nothing.
    HostStart(const QString &install, const QString &program);

    /// Starts the host, detached, with the same two arguments as a session: this program's path and
    /// "no_check". A failure to start it is ignored.
    void start() const;

private:
    const QString m_self;
    QString m_program;
};
