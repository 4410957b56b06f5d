// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Relay.h"

#include <QTcpSocket>

#include <utility>

Relay::Relay(QList<quint16> ports, qint64 limit) : m_ports(std::move(ports)), m_limit(limit)
{
    if (!m_server.listen(QHostAddress::LocalHost)) {
        qFatal("The relay has no port.");
    }
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] { take(); });
}

void Relay::take()
{
    while (QTcpSocket *client = m_server.nextPendingConnection()) {
        const quint16 port = m_ports.at(qMin(m_connections, m_ports.size() - 1));
        ++m_connections;
        QObject::connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
        if (m_limit == 0) {
            client->disconnectFromHost();
            continue;
        }
        auto *server = new QTcpSocket(client); // whatever is written before it is connected waits
        server->connectToHost(QHostAddress::LocalHost, port);
        QObject::connect(client, &QTcpSocket::readyRead, server,
                         [client, server] { server->write(client->readAll()); });
        QObject::connect(
            server, &QTcpSocket::readyRead, client,
            [this, client, server, left = m_limit]() mutable { pass(*server, *client, left); });
        QObject::connect(server, &QTcpSocket::disconnected, client,
                         &QTcpSocket::disconnectFromHost);
    }
}

void Relay::pass(QTcpSocket &server, QTcpSocket &client, qint64 &left)
{
    QByteArray bytes = server.readAll();
    if (left != NoLimit) {
        bytes.truncate(static_cast<int>(qMin<qint64>(left, bytes.size())));
        left -= bytes.size();
    }
    m_passed += client.write(bytes);
    if (left == 0) {
        client.disconnectFromHost(); // after what was written
    }
}
