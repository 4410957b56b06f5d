// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/core/FetchCall.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/ThrowAwayCa.h"

#include <QSslError>
#include <QtTest>

Q_DECLARE_METATYPE(QSslError::SslError)

/// GetFileByUrl() over real TLS: only a certificate that is right in every way gets through.
class tst_HttpFetchTls : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void getFileByUrl_trustedCertificate_givesTheBody();
    void getFileByUrl_badCertificate_isRefusedBeforeTheRequest_data();
    static void getFileByUrl_badCertificate_isRefusedBeforeTheRequest();

private:
    ThrowAwayCa m_trusted;
    ThrowAwayCa m_unknown;
};

namespace {

const QByteArray Answer = ScriptedServer::answer("200 OK", "secret body");

QUrl SecureUrl(const ScriptedServer &server)
{
    QUrl url(server.url("/update.json"));
    url.setScheme("https");
    return url;
}

} // namespace

void tst_HttpFetchTls::initTestCase()
{
    QVERIFY(m_trusted.isValid());
    QVERIFY(m_unknown.isValid());
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates({m_trusted.certificate()});
    QSslConfiguration::setDefaultConfiguration(configuration);
}

void tst_HttpFetchTls::getFileByUrl_trustedCertificate_givesTheBody()
{
    const QSslConfiguration tls = m_trusted.server("IP:127.0.0.1", 2);
    QVERIFY(!tls.localCertificate().isNull());
    const ScriptedServer server(ScriptedServer::always(Answer), 0, tls);
    QNetworkAccessManager manager;
    FetchCall call;
    QVERIFY2(call.run(manager, SecureUrl(server)), qPrintable(call.error));
    QCOMPARE(call.data, QByteArray("secret body"));
    QCOMPARE(server.requests().size(), 1);
}

void tst_HttpFetchTls::getFileByUrl_badCertificate_isRefusedBeforeTheRequest_data()
{
    QTest::addColumn<QSslConfiguration>("tls");
    QTest::addColumn<QSslError::SslError>("reason");
    QTest::newRow("unknown authority")
        << m_unknown.server("IP:127.0.0.1", 2) << QSslError::UnableToGetLocalIssuerCertificate;
    QTest::newRow("expired") << m_trusted.server("IP:127.0.0.1", -1)
                             << QSslError::CertificateExpired;
    QTest::newRow("wrong host name")
        << m_trusted.server("DNS:elsewhere.example", 2) << QSslError::HostNameMismatch;
}

void tst_HttpFetchTls::getFileByUrl_badCertificate_isRefusedBeforeTheRequest()
{
    QFETCH(QSslConfiguration, tls);
    QFETCH(QSslError::SslError, reason);
    QVERIFY(!tls.localCertificate().isNull());
    const ScriptedServer server(ScriptedServer::always(Answer), 0, tls);
    WatchedManager manager;
    QList<QSslError> errors;
    QObject::connect(&manager, &QNetworkAccessManager::sslErrors, &manager,
                     [&errors](QNetworkReply *, const QList<QSslError> &found) { errors = found; });
    FetchCall call;
    QVERIFY(!call.run(manager, SecureUrl(server)));
    QVERIFY(std::any_of(errors.cbegin(), errors.cend(),
                        [reason](const QSslError &error) { return error.error() == reason; }));
    QCOMPARE(manager.reply()->error(), QNetworkReply::SslHandshakeFailedError);
    QCOMPARE(call.error, manager.reply()->errorString() + ",status=0");
    QVERIFY(call.successOutputsUntouched());
    QVERIFY(server.requests().isEmpty());
}

QTEST_GUILESS_MAIN(tst_HttpFetchTls)
#include "tst_httpfetch_tls.moc"
