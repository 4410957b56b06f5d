// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/ThrowAwayCa.h"

#include <QFile>
#include <QProcess>
#include <QSslKey>

namespace {

const QStringList NewKey = {"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"};

} // namespace

QString HandshakeFailure(const QString &reason)
{
    const QString failure = QStringLiteral("SSL handshake failed");
    return QT_VERSION_MAJOR < 6 ? failure : failure + QStringLiteral(": ") + reason;
}

ThrowAwayCa::ThrowAwayCa()
{
    const QStringList arguments = QStringList{"req", "-x509"} + NewKey +
                                  QStringList{"-keyout", "ca.key", "-out",  "ca.pem",
                                              "-days",   "2",      "-subj", "/CN=Throw-away CA"};
    if (openssl(arguments)) {
        m_certificate = readCertificate("ca.pem");
    }
}

QSslConfiguration ThrowAwayCa::server(const QByteArray &names, int days)
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    QFile extensions(m_folder.filePath("extensions"));
    if (!extensions.open(QIODevice::WriteOnly) ||
        extensions.write("subjectAltName=" + names + "\n") < 0) {
        return configuration;
    }
    extensions.close();
    const QStringList request =
        QStringList{"req", "-new"} + NewKey +
        QStringList{"-keyout", "server.key", "-out", "server.csr", "-subj", "/CN=Test server"};
    const QStringList sign{"x509",
                           "-req",
                           "-in",
                           "server.csr",
                           "-CA",
                           "ca.pem",
                           "-CAkey",
                           "ca.key",
                           "-CAcreateserial",
                           "-days",
                           QString::number(days),
                           "-extfile",
                           "extensions",
                           "-out",
                           "server.pem"};
    QFile key(m_folder.filePath("server.key"));
    if (openssl(request) && openssl(sign) && key.open(QIODevice::ReadOnly)) {
        configuration.setLocalCertificate(readCertificate("server.pem"));
        configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
    }
    return configuration;
}

QSslCertificate ThrowAwayCa::readCertificate(const QString &name) const
{
    return QSslCertificate::fromPath(m_folder.filePath(name)).value(0);
}

bool ThrowAwayCa::openssl(const QStringList &arguments) const
{
    QProcess process;
    process.setWorkingDirectory(m_folder.path());
    process.start("openssl", arguments);
    const bool ended = process.waitForFinished(20000);
    if (ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0) {
        return true;
    }
    qWarning("openssl failed: %s", process.readAllStandardError().constData());
    return false;
}
