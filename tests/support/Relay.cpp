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
        auto *origin = new QTcpSocket(client); // what is written before it is connected waits
        origin->connectToHost(QHostAddress::LocalHost, port);
        QObject::connect(client, &QTcpSocket::readyRead, origin,
                         [client, origin] { origin->write(client->readAll()); });
        QObject::connect(
            origin, &QTcpSocket::readyRead, client,
            [this, client, origin, left = m_limit]() mutable { pass(*origin, *client, left); });
        QObject::connect(origin, &QTcpSocket::disconnected, client,
                         &QTcpSocket::disconnectFromHost);
    }
}

void Relay::pass(QTcpSocket &origin, QTcpSocket &client, qint64 &left)
{
    QByteArray bytes = origin.readAll();
    if (left != NoLimit) {
        bytes.truncate(static_cast<int>(qMin<qint64>(left, bytes.size())));
        left -= bytes.size();
    }
    m_passed += bytes.size();
    client.write(bytes);
    if (left == 0) {
        client.disconnectFromHost(); // after what was written
    }
}
