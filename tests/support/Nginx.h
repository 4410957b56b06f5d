// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/ChildProcess.h"

#include <QSslConfiguration>
#include <QTemporaryDir>

/// A private web server (nginx), at one port of 127.0.0.1 for its life.
class Nginx {
public:
    /// Takes \a port, or a free one for 0.
    explicit Nginx(quint16 port = 0);
    ~Nginx();
    Q_DISABLE_COPY(Nginx)

    /// The folder that it serves.
    QString root() const { return m_folder.filePath(QStringLiteral("www")); }
    /// The address of root(), without a separator at the end.
    QString url() const;

    /// Uses TLS from the next start() on, with the certificate and key of \a tls.
    void encrypt(const QSslConfiguration &tls);
    /// Starts serving, with at most \a bytesPerSecond for each response; 0 means no limit. Returns
    /// false if it does not come up.
    bool start(int bytesPerSecond = 0);
    /// Kills it at once, even in the middle of a response.
    void kill();
    /// The lines of the access log: one for each response.
    QList<QByteArray> answers() const;

private:
    bool isUp() const;

    QTemporaryDir m_folder;
    quint16 m_port;
    QByteArray m_encryption; // follows the port in the configuration
    ChildProcess m_process;
};
