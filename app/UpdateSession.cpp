// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/UpdateSession.h"

#include "app/HostHandoff.h"
#include "app/SessionOutcome.h"
#include "app/SessionState.h"
#include "app/StatusRecord.h"
#include "app/UpdateDescription.h"
#include "core/Func.h"
#include "platform/LogHandler.h"
#include "platform/QtDefaults.h"
#include "platform/StandardStreams.h"
#include "ui/LazyIcon.h"
#include "ui/UpdateError.h"
#include "ui/UpdateNotice.h"

#include <QApplication>
#include <QDebug>
#include <QDesktopServices>

#include <optional>

namespace {

constexpr qint32 FetchTimeoutSec = 15;

/// The steps of a session after start-up, up to the outcome.
class UpdateSession {
public:
    UpdateSession(const SessionState &state, CUpdateError &errorDialog, StatusRecord &record)
        : m_state(state), m_console(state.isCommand(QLatin1String("console"))),
          m_errorDialog(errorDialog), m_record(record)
    {
    }

    bool console() const { return m_console; }

    SessionOutcome run()
    {
        if (!m_record.claim()) {
            return alreadyRunning();
        }
        if (!QUrl(m_state.baseUrl).isValid()) {
            return fail(SessionOutcome::BaseUrlNotValid, m_state.baseUrl);
        }
        std::optional<SessionOutcome> outcome;
        while (!outcome) { // the user decides on every retry
            outcome = attempt();
        }
        return *outcome;
    }

private:
    SessionOutcome alreadyRunning()
    {
        const SessionOutcomeInfo &info = InfoOf(SessionOutcome::AlreadyRunning);
        const QString message = QObject::tr(info.message);
        if (m_console) {
            // Pass on the running session's last status.
            const StatusRecord::Status status = m_record.read();
            ReportErrorToMainExecute(status.success, status.update, message);
        } else {
            (void)ShowErrorDialog(m_errorDialog, QObject::tr(info.title), message, info.retry);
        }
        return info.outcome;
    }

    /// Fetches the description once and acts on it; no outcome means that the user wants to retry.
    std::optional<SessionOutcome> attempt()
    {
        QNetworkAccessManager manager;
        manager.clearAccessCache();

        const QUrl url(m_state.baseUrl + QLatin1Char('/') + m_state.descriptionName);
        qDebug().noquote() << m_state.descriptionName << " url =" << url.toString();
        if (!url.isValid()) {
            return fail(SessionOutcome::DescriptionUrlNotValid, url.toString());
        }

        QByteArray content;
        QString error;
        if (!GetFileByUrl(manager, url, content, error, FetchTimeoutSec, {}, "GET", {}, nullptr)) {
            return failOrRetry(SessionOutcome::FetchFailed, SessionOutcome::FetchGivenUp, error);
        }
        qDebug().noquote() << m_state.descriptionName << " content ="
                           << QString::fromUtf8(content.constData(), content.size());

        UpdateDescription description;
        if (!ParseUpdateDescription(content, description)) {
            // Up to the first NUL.
            return failOrRetry(SessionOutcome::ContentNotValid, SessionOutcome::ContentGivenUp,
                               QString::fromUtf8(content.constData()));
        }
        return decide(description);
    }

    SessionOutcome decide(const UpdateDescription &description)
    {
        const UpdateDecision decision = DecideUpdate(m_state.hostVersion, description);
        if (decision == UpdateDecision::NotNeeded) {
            m_record.write({true, false});
            reportVersions(false, description);
            return SessionOutcome::NoUpdateNeeded;
        }

        CUpdateNotice notice(decision == UpdateDecision::Forced);
        notice.setUpdateVersion(description.versionString);
        if (notice.exec() == QDialog::Accepted) {
            qInfo().noquote() << QApplication::tr("尝试打开的url：") << description.downloadUrl;
            (void)QDesktopServices::openUrl(QUrl(description.downloadUrl)); // the user sees it
        }
        const bool accepted = notice.result() == QDialog::Accepted;
        reportVersions(accepted, description);
        return accepted ? SessionOutcome::NoticeAccepted : SessionOutcome::NoticeDeclined;
    }

    void reportVersions(bool update, const UpdateDescription &description) const
    {
        if (m_console) {
            ReportErrorToMainExecute(true, update,
                                     QApplication::tr("current version:%1, newest version:%2")
                                         .arg(m_state.hostVersionText, description.versionString));
        }
    }

    /// Reports a failure and returns whether the user wants to retry.
    bool tell(SessionOutcome outcome, const QString &argument)
    {
        const SessionOutcomeInfo &info = InfoOf(outcome);
        const QString message = QObject::tr(info.message).arg(argument);
        if (m_console) {
            ReportErrorToMainExecute(false, false, message);
            return false;
        }
        return ShowErrorDialog(m_errorDialog, QObject::tr(info.title), message, info.retry);
    }

    SessionOutcome fail(SessionOutcome outcome, const QString &argument)
    {
        (void)tell(outcome, argument); // no retry was offered
        return outcome;
    }

    std::optional<SessionOutcome> failOrRetry(SessionOutcome inConsole, SessionOutcome inWindow,
                                              const QString &argument)
    {
        const SessionOutcome outcome = m_console ? inConsole : inWindow;
        if (tell(outcome, argument)) {
            return std::nullopt;
        }
        return outcome;
    }

    const SessionState &m_state;
    const bool m_console;
    CUpdateError &m_errorDialog;
    StatusRecord &m_record;
};

/// Starts the host application if the outcome calls for it, closes the log and returns the exit
/// code.
int EndSession(SessionOutcome outcome, bool console, const QString &exeName)
{
    const SessionOutcomeInfo &info = InfoOf(outcome);
    if (info.hostStart == HostStart::Always ||
        (info.hostStart == HostStart::WindowedOnly && !console)) {
        StartMainExecute(exeName);
    }
    qInfo().noquote() << QApplication::tr(console ? info.consoleMarker : info.windowedMarker);
    CLogHandler::Release();
    return info.exitCode;
}

} // namespace

int RunUpdateSession(int &argc, char **argv, const QString &baseUrl, const QString &descriptionName)
{
    PrepareStandardStreams();
    EnableHighDpi();
    const QApplication application(argc, argv);
    QApplication::setWindowIcon(LazyIcon(QStringLiteral(":/icon")));
    CLogHandler::SetLogLevel(QtDebugMsg);
    CLogHandler::Initialize();
    qInfo().noquote() << QApplication::tr("----------------更新程序启动------------------");

    // Read only now that the toolkit has removed its own arguments.
    const QString command = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    const SessionState state = StartUp(baseUrl, descriptionName, command);
    if (state.isCommand(QLatin1String("restart"))) {
        qDebug().noquote() << "restart main:" << state.exeName;
        return EndSession(SessionOutcome::Restarted, false, state.exeName);
    }
    qDebug().noquote() << "command =" << state.command;

    CUpdateError errorDialog;
    StatusRecord record(state.applicationDir.path());
    UpdateSession session(state, errorDialog, record);
    const SessionOutcome outcome = session.run();
    return EndSession(outcome, session.console(), state.exeName);
}
