// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>
#include <QSslConfiguration>
#include <QString>

#include <functional>
#include <memory>

class QTcpSocket;

/// One connection to a ScriptedServer, handed to its handler on its own thread.
class ScriptedConnection {
public:
    ScriptedConnection(QTcpSocket &socket, const std::function<bool()> &stopped);

    /// Sends exactly these bytes and waits until the system has taken them. False when the peer is
    /// gone.
    bool send(const QByteArray &bytes);
    /// Waits; returns early when the server stops or the peer has gone away.
    void pause(int milliseconds);
    /// Waits until the peer has gone away or the server stops.
    void hang();
    /// Closes the connection properly after what was sent.
    void close();
    /// Resets the connection, discarding what is still in transit.
    void reset();

    /// Returns one whole request, with the body that the head's Content-Length announces; empty if
    /// the peer has gone away or the server stops.
    QByteArray readRequest();

private:
    QTcpSocket &m_socket;
    const std::function<bool()> &m_stopped;
    QByteArray m_buffer;
};

/// A loopback server that sends exactly the bytes a test chooses, and records the requests. It runs
/// on its own threads, so a test may block while it serves.
class ScriptedServer {
public:
    /// Called once for every request that has arrived whole, on the connection's thread. When it
    /// returns, the connection stays open for the next request unless it was closed or reset.
    using Handler = std::function<void(ScriptedConnection &connection, const QByteArray &request)>;

    /// Listens on 127.0.0.1 at \a port, or at a free one for 0. With a \a tls configuration that
    /// contains a certificate, connections are encrypted. Aborts the test when the port is taken.
    explicit ScriptedServer(Handler handler, quint16 port = 0,
                            const QSslConfiguration &tls = QSslConfiguration());
    /// Ends every connection and waits for its threads.
    ~ScriptedServer();
    Q_DISABLE_COPY(ScriptedServer)

    quint16 port() const;
    /// The address of \a path (with its leading '/') on this server, as text.
    QString url(const QString &path) const;
    /// Every request so far, in order of arrival.
    QList<QByteArray> requests() const;
    /// How many connections were accepted so far.
    int connections() const;

    /// A whole answer: status line such as "200 OK", further header lines each ended by CR LF, and
    /// the body, with its Content-Length.
    static QByteArray answer(const QByteArray &status, const QByteArray &body,
                             const QByteArray &headers = QByteArray());
    /// A handler that gives every request the same bytes.
    static Handler always(const QByteArray &bytes);

private:
    class Private;
    std::unique_ptr<Private> m_private;
};
