// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/ChildProcess.h"

#include <QSslConfiguration>
#include <QTemporaryDir>

/// A web server of the test's own (nginx), at one port of 127.0.0.1 for its life.
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

    /// Shows the certificate of \a tls, which holds its key, and speaks TLS from the next start()
    /// on.
    void encrypt(const QSslConfiguration &tls);
    /// Serves from now on, with at most \a bytesPerSecond for each answer; 0 is no limit. False
    /// when it does not come up.
    bool start(int bytesPerSecond = 0);
    /// Ends it at once, in the middle of whatever it sends.
    void kill();
    /// The lines of the access log: a line for each answer.
    QList<QByteArray> answers() const;

private:
    bool isUp() const;

    QTemporaryDir m_folder;
    quint16 m_port;
    QByteArray m_encryption; // what follows the port in the configuration
    ChildProcess m_process;
};
