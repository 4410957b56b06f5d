// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "engine/DownloadThread.h"

#include <QChildEvent>
#include <QCoreApplication>
#include <QFile>
#include <QMetaEnum>
#include <QNetworkReply>
#include <QSslConfiguration>
#include <QSslError>

#include <cstdio>

/// \file
/// worker_driver URL STAGING INSTALL [PATH SIZE MD5]...: runs a worker to its end and prints, one
/// line each, "progress RECEIVED TOTAL", "untrusted ERROR" where a server's certificate is refused,
/// and at last "end MESSAGE". Trusts the authorities in the file that WORKER_CA names and no
/// others.

namespace {

void Say(const QString &line)
{
    (void)std::puts(line.toUtf8().constData());
    (void)std::fflush(stdout);
}

void SayRefused(const QList<QSslError> &errors)
{
    for (const QSslError &error : errors) {
        const auto names = QMetaEnum::fromType<QSslError::SslError>();
        Say(QStringLiteral("untrusted ") + QLatin1String(names.valueToKey(error.error())));
    }
}

/// Listens to the network manager of the worker, which is its own: a reply is its child.
class Listener : public QObject {
protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *manager = qobject_cast<QNetworkAccessManager *>(watched);
        if (manager && manager != m_manager && event->type() == QEvent::ChildAdded) {
            m_manager = manager;
            connect(manager, &QNetworkAccessManager::sslErrors, this,
                    [](QNetworkReply *, const QList<QSslError> &errors) { SayRefused(errors); });
        }
        return false;
    }

private:
    QNetworkAccessManager *m_manager = nullptr;
};

QList<tagDownloadFileInfo> Records(const QStringList &arguments)
{
    QList<tagDownloadFileInfo> records;
    for (int i = 0; i + 2 < arguments.size(); i += 3) {
        tagDownloadFileInfo record;
        record.path = arguments.at(i);
        record.sizeHigh = arguments.at(i + 1).toUInt();
        record.md5 = arguments.at(i + 2).toLatin1();
        records << record;
    }
    return records;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString authorities = qEnvironmentVariable("WORKER_CA");
    if (!authorities.isEmpty()) {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates(QSslCertificate::fromPath(authorities));
        QSslConfiguration::setDefaultConfiguration(configuration);
    }
    Listener listener;
    app.installEventFilter(&listener);

    CDownloadThread worker(arguments.value(1), QDir(arguments.value(2)), QDir(arguments.value(3)),
                           Records(arguments.mid(4)));
    QObject::connect(&worker, &CDownloadThread::downloadProgress, &app,
                     [](int64_t received, int64_t total) {
                         Say(QStringLiteral("progress %1 %2").arg(received).arg(total));
                     });
    QObject::connect(&worker, &QThread::finished, &app, &QCoreApplication::quit);
    if (worker.errormsg().isEmpty()) { // otherwise it has already ended
        worker.start();
        QCoreApplication::exec();
        worker.wait();
    }
    Say(QStringLiteral("end ") + worker.errormsg());
    return worker.success() ? 0 : 1;
}
