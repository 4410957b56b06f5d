// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "SingleInstance.h"

#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>

bool SingleInstance::claim()
{
    constexpr int PatienceMs = 1000;
    const QDir folder(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation));
    const QString name = folder.filePath(QStringLiteral("com.example.kestrel"));
    QLocalSocket first;
    first.connectToServer(name);
    if (first.waitForConnected(PatienceMs)) {
        return false; // the connection says it all
    }
    (void)QLocalServer::removeServer(name); // one that crashed leaves its socket behind
    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        m_server.nextPendingConnection()->deleteLater();
        emit asked();
    });
    (void)m_server.listen(name); // without it two windows may open, no more
    return true;
}
