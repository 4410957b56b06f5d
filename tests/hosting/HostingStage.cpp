// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/hosting/HostingStage.h"

#include "tests/support/TestFiles.h"

#include <QDir>
#include <QElapsedTimer>
#include <QSslKey>
#include <QStandardPaths>
#include <QTcpSocket>

#include <sys/mount.h>

namespace {

/// Lets this process and its children see \a own where the system has \a system.
bool Cover(const char *system, const QString &own)
{
    return ::mount(QFile::encodeName(own).constData(), system, nullptr, MS_BIND, nullptr) == 0;
}

bool IsServed(const QString &address, QProcess &server)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < 10000 && server.state() != QProcess::NotRunning) {
        QTcpSocket socket;
        socket.connectToHost(address, 443);
        if (socket.waitForConnected(1000)) {
            return true;
        }
        (void)server.waitForFinished(10); // a pause that ends early if the server has ended
    }
    return false;
}

} // namespace

QByteArray PageBlock(const QByteArray &name)
{
    const QByteArray page = ReadFile(QStringLiteral(PAGE));
    const QByteArray begin = "\n```" + name + '\n';
    const int from = static_cast<int>(page.indexOf(begin) + begin.size());
    const int to = static_cast<int>(page.indexOf("\n```\n", from));
    if (!page.contains(begin) || to < 0) {
        qFatal("docs/hosting.md has no block %s.", name.constData());
    }
    return page.mid(from, to + 1 - from);
}

HostingStage::HostingStage()
{
    m_ready = layOut();
}

bool HostingStage::layOut()
{
    const QSslConfiguration tls =
        m_authority.server("DNS:update.example.com,DNS:origin.example.com", 2);
    if (!m_folder.isValid() || tls.localCertificate().isNull()) {
        return false;
    }
    WriteFile(path(QStringLiteral("ssl/certs/ca-certificates.crt")),
              m_authority.certificate().toPem());
    WriteFile(path(QStringLiteral("ssl/private/update.example.com.pem")),
              tls.localCertificate().toPem());
    WriteFile(path(QStringLiteral("ssl/private/update.example.com.key")), tls.privateKey().toPem());
    WriteFile(path(QStringLiteral("hosts")),
              "127.0.0.1 localhost update.example.com\n127.0.0.2 origin.example.com\n");
    return QProcess::execute(QStringLiteral("openssl"),
                             {QStringLiteral("rehash"), path(QStringLiteral("ssl/certs"))}) == 0 &&
           QDir(m_folder.path()).mkpath(QStringLiteral("srv/update")) &&
           QDir(m_folder.path()).mkpath(QStringLiteral("cache/nginx")) &&
           Cover("/etc/ssl", path(QStringLiteral("ssl"))) &&
           Cover("/etc/hosts", path(QStringLiteral("hosts"))) &&
           Cover("/srv", path(QStringLiteral("srv"))) &&
           Cover("/var/cache", path(QStringLiteral("cache")));
}

std::unique_ptr<HostingServer> HostingStage::nginx(const QByteArray &site, const QString &address)
{
    const QString folder = path(QStringLiteral("nginx-") + address);
    QByteArray temporary;
    for (const char *name : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
        temporary += QByteArray(name) + "_temp_path \"" + folder.toUtf8() + '/' + name + "\";\n";
    }
    WriteFile(folder + QStringLiteral("/site"), site);
    WriteFile(folder + QStringLiteral("/nginx.conf"),
              "daemon off;\nmaster_process off;\npid \"" + folder.toUtf8() +
                  "/pid\";\nevents { worker_connections 64; }\nhttp {\n" + temporary +
                  "access_log \"" + path(QStringLiteral("access.log")).toUtf8() +
                  "\";\ninclude \"" + folder.toUtf8() + "/site\";\n}\n");
    QString program = QStandardPaths::findExecutable(QStringLiteral("nginx"));
    if (program.isEmpty()) {
        program = QStringLiteral("/usr/sbin/nginx");
    }
    auto server = std::make_unique<HostingServer>();
    server->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server->start(program, {QStringLiteral("-p"), folder, QStringLiteral("-c"),
                            folder + QStringLiteral("/nginx.conf"), QStringLiteral("-e"),
                            folder + QStringLiteral("/errors")});
    return IsServed(address, *server) ? std::move(server) : nullptr;
}

std::unique_ptr<HostingServer> HostingStage::caddy(const QByteArray &site)
{
    const QString file = path(QStringLiteral("Caddyfile"));
    WriteFile(file, site);
    auto server = std::make_unique<HostingServer>();
    server->setStandardErrorFile(path(QStringLiteral("caddy-errors")));
    server->start(QStringLiteral("caddy"),
                  {QStringLiteral("run"), QStringLiteral("--config"), file,
                   QStringLiteral("--adapter"), QStringLiteral("caddyfile")});
    return IsServed(QStringLiteral("127.0.0.1"), *server) ? std::move(server) : nullptr;
}

QList<QByteArray> HostingStage::answers() const
{
    QList<QByteArray> lines = ReadFile(path(QStringLiteral("access.log"))).split('\n');
    lines.removeLast(); // empty behind the last line end
    return lines;
}
