// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTemporaryDir>

/// What the toolkit says when it refuses a certificate for this \a reason, which Qt 5 keeps to
/// itself.
QString HandshakeFailure(const QString &reason);

/// A certificate authority that lives as long as its object, made with the openssl command. Nothing
/// trusts it unless a test says so.
class ThrowAwayCa {
public:
    /// Makes the authority. isValid() tells whether that worked.
    ThrowAwayCa();

    bool isValid() const { return !m_certificate.isNull(); }
    /// The authority's own certificate, to be trusted by whoever wants to.
    QSslCertificate certificate() const { return m_certificate; }

    /// Returns what a server on 127.0.0.1 needs to show a certificate of this authority.
    ///
    /// \a names  the certificate's subjectAltName, such as "IP:127.0.0.1" or "DNS:host.example".
    /// \a days   how long it holds from now on; a negative number makes one that has expired.
    /// Holds no certificate when openssl failed; its output is then on standard error.
    QSslConfiguration server(const QByteArray &names, int days);

private:
    QSslCertificate readCertificate(const QString &name) const;
    bool openssl(const QStringList &arguments) const;

    QTemporaryDir m_folder;
    QSslCertificate m_certificate;
};
