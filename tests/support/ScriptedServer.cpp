// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/ScriptedServer.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QSslSocket>
#include <QTcpServer>
#include <QTcpSocket>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <sys/socket.h>
#include <thread>
#include <vector>

namespace {

constexpr int PollMs = 20;

/// Accepts connections and hands their descriptors over.
class AcceptingServer : public QTcpServer {
public:
    explicit AcceptingServer(std::function<void(qintptr)> take) : m_take(std::move(take)) {}

protected:
    void incomingConnection(qintptr descriptor) override { m_take(descriptor); }

private:
    std::function<void(qintptr)> m_take;
};

int BodyLength(const QByteArray &head)
{
    static const QRegularExpression pattern(QStringLiteral("\r\ncontent-length: *([0-9]+)"),
                                            QRegularExpression::CaseInsensitiveOption);
    return pattern.match(QString::fromLatin1(head)).captured(1).toInt();
}

} // namespace

ScriptedConnection::ScriptedConnection(QTcpSocket &socket, const std::function<bool()> &stopped)
    : m_socket(socket), m_stopped(stopped)
{
}

bool ScriptedConnection::send(const QByteArray &bytes)
{
    if (m_socket.write(bytes) != bytes.size()) {
        return false; // the peer has gone meanwhile
    }
    while (m_socket.bytesToWrite() > 0) {
        if (m_stopped() || m_socket.state() != QAbstractSocket::ConnectedState) {
            return false;
        }
        (void)m_socket.waitForBytesWritten(PollMs); // judged by bytesToWrite() and state()
    }
    return true;
}

void ScriptedConnection::pause(int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (!m_stopped() && m_socket.state() == QAbstractSocket::ConnectedState) {
        const qint64 left = milliseconds - timer.elapsed();
        if (left <= 0) {
            return;
        }
        (void)m_socket.waitForReadyRead(static_cast<int>(qMin<qint64>(left, PollMs)));
    }
}

void ScriptedConnection::hang()
{
    while (!m_stopped() && m_socket.state() == QAbstractSocket::ConnectedState) {
        (void)m_socket.waitForReadyRead(PollMs); // sees the peer go away
    }
}

void ScriptedConnection::close()
{
    m_socket.disconnectFromHost();
    if (m_socket.state() != QAbstractSocket::UnconnectedState) {
        (void)m_socket.waitForDisconnected(1000); // the socket is dropped in any case
    }
}

void ScriptedConnection::reset()
{
    const linger now{1, 0};
    (void)::setsockopt(static_cast<int>(m_socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &now,
                       sizeof now);
    m_socket.abort();
}

QByteArray ScriptedConnection::readRequest()
{
    const QByteArray endOfHead("\r\n\r\n");
    while (!m_stopped()) {
        m_buffer += m_socket.readAll();
        const int head = m_buffer.indexOf(endOfHead);
        if (head >= 0) {
            const int whole = head + endOfHead.size() + BodyLength(m_buffer.left(head));
            if (m_buffer.size() >= whole) {
                QByteArray request = m_buffer.left(whole);
                m_buffer.remove(0, whole);
                return request;
            }
        }
        if (!m_socket.waitForReadyRead(PollMs) &&
            m_socket.state() != QAbstractSocket::ConnectedState) {
            break;
        }
    }
    return {};
}

class ScriptedServer::Private {
public:
    Private(Handler handler, const QSslConfiguration &tls)
        : m_handler(std::move(handler)), m_tls(tls)
    {
    }

    void listen(quint16 port)
    {
        m_acceptor = std::thread([this, port] { acceptUntilStopped(port); });
        std::unique_lock<std::mutex> guard(m_listening);
        m_listens.wait(guard, [this] { return m_port != 0; });
    }

    void stop()
    {
        m_stop = true;
        m_acceptor.join();
        for (std::thread &connection : m_connections) {
            connection.join();
        }
    }

    quint16 port() const { return m_port; }

    QList<QByteArray> requests() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_requests;
    }

    int connections() const { return m_accepted; }

private:
    void acceptUntilStopped(quint16 port)
    {
        AcceptingServer server([this](qintptr descriptor) {
            ++m_accepted;
            m_connections.emplace_back([this, descriptor] { serve(descriptor); });
        });
        if (!server.listen(QHostAddress::LocalHost, port)) {
            qFatal("The test's port %d is taken.", port);
        }
        {
            const std::lock_guard<std::mutex> guard(m_listening);
            m_port = server.serverPort();
        }
        m_listens.notify_all();
        while (!m_stop) {
            (void)server.waitForNewConnection(PollMs); // returns to look at m_stop
        }
    }

    void serve(qintptr descriptor)
    {
        QSslSocket socket;
        socket.setSocketDescriptor(descriptor);
        if (!m_tls.localCertificate().isNull()) {
            socket.setSslConfiguration(m_tls);
            socket.startServerEncryption();
            if (!socket.waitForEncrypted(5000)) {
                return;
            }
        }
        const std::function<bool()> stopped = [this] { return m_stop.load(); };
        ScriptedConnection connection(socket, stopped);
        while (!m_stop && socket.state() == QAbstractSocket::ConnectedState) {
            const QByteArray request = connection.readRequest();
            if (request.isEmpty()) {
                return;
            }
            {
                const std::lock_guard<std::mutex> guard(m_mutex);
                m_requests.append(request);
            }
            m_handler(connection, request);
        }
    }

    Handler m_handler;
    QSslConfiguration m_tls;
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_accepted{0};
    std::mutex m_listening;
    std::condition_variable m_listens;
    quint16 m_port = 0;
    mutable std::mutex m_mutex;
    QList<QByteArray> m_requests;
    std::thread m_acceptor;
    std::vector<std::thread> m_connections;
};

ScriptedServer::ScriptedServer(Handler handler, quint16 port, const QSslConfiguration &tls)
    : m_private(std::make_unique<Private>(std::move(handler), tls))
{
    m_private->listen(port);
}

ScriptedServer::~ScriptedServer()
{
    m_private->stop();
}

quint16 ScriptedServer::port() const
{
    return m_private->port();
}

QString ScriptedServer::url(const QString &path) const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(QString::number(port()), path);
}

QList<QByteArray> ScriptedServer::requests() const
{
    return m_private->requests();
}

int ScriptedServer::connections() const
{
    return m_private->connections();
}

QByteArray ScriptedServer::answer(const QByteArray &status, const QByteArray &body,
                                  const QByteArray &headers)
{
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) +
           "\r\n" + headers + "\r\n" + body;
}

ScriptedServer::Handler ScriptedServer::always(const QByteArray &bytes)
{
    return [bytes](ScriptedConnection &connection, const QByteArray &) { connection.send(bytes); };
}
