// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/HostHandoff.h"
#include "app/StatusRecord.h"
#include "app/UpdateSession.h"

#include <QApplication>
#include <QDebug>
#include <QDesktopServices>
#include <QDialog>
#include <QTimer>
#include <QUrl>

/// \file
/// A whole session whose external effects only log what they are asked to do, so that the log shows
/// the order of everything. The base URL comes from PUPPET_BASE_URL; with PUPPET_RUNNING another
/// session is there already; PUPPET_ANSWER is what every dialog is answered with, "accept" or
/// "reject".

namespace {

bool Accepts()
{
    return qgetenv("PUPPET_ANSWER") == "accept";
}

class Browser : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

public slots: // the toolkit calls it by name
    void open(const QUrl &url) { qInfo().noquote() << "browser" << url.toEncoded(); }
};

void AnswerTheNotice()
{
    if (auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget())) {
        dialog->done(Accepts() ? QDialog::Accepted : QDialog::Rejected);
    }
}

void SitDown()
{
    auto *browser = new Browser(QCoreApplication::instance());
    QDesktopServices::setUrlHandler(QStringLiteral("https"), browser, "open");
    auto *look = new QTimer(browser);
    look->callOnTimeout(browser, AnswerTheNotice);
    look->start(2);
}
Q_COREAPP_STARTUP_FUNCTION(SitDown)

} // namespace

// Replace the session's own.

void StartMainExecute(const QString &exeName)
{
    qInfo().noquote() << "host" << exeName;
}

void ReportErrorToMainExecute(bool success, bool update, const QString &errormsg)
{
    qInfo().noquote() << "report" << success << update << errormsg;
}

bool ShowErrorDialog(CUpdateError &, const QString &title, const QString &message, bool retry)
{
    qInfo().noquote() << "dialog" << title << message << retry;
    return false;
}

StatusRecord::StatusRecord(const QString &) {}

bool StatusRecord::claim()
{
    qInfo("claim");
    return !qEnvironmentVariableIsSet("PUPPET_RUNNING");
}

StatusRecord::Status StatusRecord::read()
{
    qInfo("read");
    return {true, true};
}

void StatusRecord::write(Status status)
{
    qInfo().noquote() << "write" << status.success << status.update;
}

int main(int argc, char *argv[])
{
    return RunUpdateSession(argc, argv, QString::fromUtf8(qgetenv("PUPPET_BASE_URL")),
                            QStringLiteral("update.json"));
}

#include "OrderPuppet.moc"
