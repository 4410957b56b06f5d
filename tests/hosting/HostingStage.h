// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/ThrowAwayCa.h"

#include <memory>

/// The block of docs/hosting.md that begins with the line "```NAME", without that line and the last
/// one.
QByteArray PageBlock(const QByteArray &name);

/// A web server, which ends with its object.
class HostingServer : public ChildProcess {
public:
    ~HostingServer() override
    {
        kill();
        (void)waitForFinished(5000); // may have ended
    }
};

/// A machine that serves update.example.com: /srv, /etc/ssl, /etc/hosts and /var/cache are the
/// test's own, in private namespaces.
class HostingStage {
public:
    /// Lays everything out. isReady() says whether that worked.
    HostingStage();

    bool isReady() const { return m_ready; }

    /// Starts nginx with \a site in its http block. Null if it does not come up at \a address.
    std::unique_ptr<HostingServer> nginx(const QByteArray &site,
                                         const QString &address = QStringLiteral("127.0.0.1"));
    /// Starts Caddy with \a site as its Caddyfile. Null if it does not come up.
    std::unique_ptr<HostingServer> caddy(const QByteArray &site);
    /// The lines of the access logs of every nginx so far.
    QList<QByteArray> answers() const;
    QString path(const QString &relative) const { return m_folder.filePath(relative); }

private:
    bool layOut();

    QTemporaryDir m_folder;
    ThrowAwayCa m_authority;
    bool m_ready = false;
};
