// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTemporaryDir>

/// Qt's message when it refuses a certificate for this \a reason; Qt 5 leaves the reason out.
QString HandshakeFailure(const QString &reason);

/// A certificate authority that lives as long as its object, made with the openssl command. Nothing
/// trusts it unless a test makes it so.
class ThrowAwayCa {
public:
    /// Makes the authority. isValid() says whether that worked.
    ThrowAwayCa();

    bool isValid() const { return !m_certificate.isNull(); }
    /// The authority's own certificate.
    QSslCertificate certificate() const { return m_certificate; }

    /// Returns what a server on 127.0.0.1 needs to show a certificate of this authority.
    ///
    /// \a names  the certificate's subjectAltName, such as "IP:127.0.0.1" or "DNS:host.example".
    /// \a days   how long it is valid; negative for an expired one.
    /// Contains no certificate if openssl failed; its output is then on standard error.
    QSslConfiguration server(const QByteArray &names, int days);

private:
    QSslCertificate readCertificate(const QString &name) const;
    bool openssl(const QStringList &arguments) const;

    QTemporaryDir m_folder;
    QSslCertificate m_certificate;
};
