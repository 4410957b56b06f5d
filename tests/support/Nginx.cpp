// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/Nginx.h"

#include "tests/support/TestFiles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QSslCertificate>
#include <QSslKey>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>

Nginx::Nginx(quint16 port)
{
    QTcpServer server;
    if (!QDir().mkpath(root()) || !server.listen(QHostAddress::LocalHost, port)) {
        qFatal("The web server has no folder or no port.");
    }
    m_port = server.serverPort(); // free again at the end of this function
}

Nginx::~Nginx()
{
    kill();
}

QString Nginx::url() const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(m_port);
}

void Nginx::encrypt(const QSslConfiguration &tls)
{
    const QString certificate = m_folder.filePath(QStringLiteral("server.pem"));
    const QString key = m_folder.filePath(QStringLiteral("server.key"));
    WriteFile(certificate, tls.localCertificate().toPem());
    WriteFile(key, tls.privateKey().toPem());
    m_encryption = " ssl; ssl_certificate \"" + certificate.toUtf8() +
                   "\"; ssl_certificate_key \"" + key.toUtf8() + '"';
}

bool Nginx::start(int bytesPerSecond)
{
    QByteArray configuration = ReadFile(QStringLiteral(NGINX_CONFIGURATION));
    configuration.replace("@FOLDER@", m_folder.path().toUtf8());
    configuration.replace("@PORT@", QByteArray::number(m_port) + m_encryption);
    configuration.replace("@RATE@", QByteArray::number(bytesPerSecond));
    const QString path = m_folder.filePath(QStringLiteral("nginx.conf"));
    WriteFile(path, configuration);

    QString program = QStandardPaths::findExecutable(QStringLiteral("nginx"));
    if (program.isEmpty()) {
        program = QStringLiteral("/usr/sbin/nginx");
    }
    m_process.start(program, {QStringLiteral("-p"), m_folder.path(), QStringLiteral("-c"), path,
                              QStringLiteral("-e"), m_folder.filePath(QStringLiteral("errors"))});
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 10000 && m_process.state() != QProcess::NotRunning) {
        if (isUp()) {
            return true;
        }
        (void)m_process.waitForFinished(10); // a pause that ends early if nginx has ended
    }
    return false;
}

void Nginx::kill()
{
    m_process.kill();
    (void)m_process.waitForFinished(5000); // may not have been started
}

QList<QByteArray> Nginx::answers() const
{
    QList<QByteArray> lines = ReadFile(m_folder.filePath(QStringLiteral("access.log"))).split('\n');
    lines.removeLast(); // empty behind the last line end
    return lines;
}

bool Nginx::isUp() const
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, m_port);
    return socket.waitForConnected(1000);
}
