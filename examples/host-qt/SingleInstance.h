// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QLocalServer>

/// Keeps one Kestrel per user. The updater may start Kestrel again while it is still open: then the
/// open one comes to the front.
class SingleInstance : public QObject {
    Q_OBJECT

public:
    /// Returns true in the first Kestrel. In any other one, asks the first to show itself and
    /// returns false: the caller should end.
    bool claim();

signals:
    /// Another Kestrel was started.
    void asked();

private:
    QLocalServer m_server;
};
