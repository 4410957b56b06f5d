// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QProcess>

/// What a check came to.
struct UpdateReport {
    bool success = false; ///< the server was asked and understood
    bool update = false;  ///< the user wants the new version; its download page is open
    QString message;      ///< the two versions, or what went wrong
};

/// Returns the report in \a output, which is all that `updater console` wrote.
UpdateReport ParseUpdateReport(const QByteArray &output);

/// Checks for updates in the background with the updater beside this program.
class UpdateCheck : public QObject {
    Q_OBJECT

public:
    explicit UpdateCheck(QObject *parent = nullptr);

    bool isRunning() const { return m_updater.state() != QProcess::NotRunning; }
    /// Starts a check, unless one is running.
    void start();

signals:
    /// The check has ended, whichever way. Sent once for each start.
    void finished(const UpdateReport &report);

private:
    void read();
    void giveUp(QProcess::ProcessError error);

    QProcess m_updater;
};
