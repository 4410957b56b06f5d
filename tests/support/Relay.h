// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QTcpServer>

class QTcpSocket;

/// A loopback server that forwards every connection to another server, byte by byte, and can break
/// off in the middle. It works while the thread that created it runs its event loop.
class Relay {
public:
    static constexpr qint64 NoLimit = -1;

    /// The first connection goes to the first of \a ports, the second to the second, and so on, and
    /// all others to the last. A connection ends after \a limit bytes of answer.
    explicit Relay(QList<quint16> ports, qint64 limit = NoLimit);

    quint16 port() const { return m_server.serverPort(); }
    /// How many connections have come.
    int connections() const { return m_connections; }
    /// How many bytes of answer have passed on all connections.
    qint64 passed() const { return m_passed; }

private:
    void take();
    void pass(QTcpSocket &origin, QTcpSocket &client, qint64 &left);

    const QList<quint16> m_ports;
    const qint64 m_limit;
    int m_connections = 0;
    qint64 m_passed = 0;
    QTcpServer m_server; // last: its connections are its children
};
