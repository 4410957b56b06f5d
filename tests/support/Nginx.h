// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/ChildProcess.h"

#include <QTemporaryDir>

/// A web server of the test's own (nginx), at one port of 127.0.0.1 for its life.
class Nginx {
public:
    Nginx();
    ~Nginx();
    Q_DISABLE_COPY(Nginx)

    /// The folder that it serves.
    QString root() const { return m_folder.filePath(QStringLiteral("www")); }
    /// The address of root(), without a separator at the end.
    QString url() const;

    /// Serves from now on, with at most \a bytesPerSecond for each answer; 0 is no limit. False
    /// when it does not come up.
    bool start(int bytesPerSecond = 0);
    /// Ends it at once, in the middle of whatever it sends.
    void kill();

private:
    bool isUp() const;

    QTemporaryDir m_folder;
    quint16 m_port = 0;
    ChildProcess m_process;
};
