// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QProcess>

/// The update in place with the program `inplace_update` beside this one: fetched while Kestrel
/// runs, put in place when it quits.
class InplaceUpdate : public QObject {
    Q_OBJECT

public:
    explicit InplaceUpdate(QObject *parent = nullptr);

    /// Whether the bundle has the program at all.
    bool isThere() const;
    bool isRunning() const { return m_program.state() != QProcess::NotRunning; }
    /// Fetches and verifies a newer release, unless that is being done. Changes nothing in the
    /// bundle.
    void fetch();
    /// Lets what was fetched be put in place. It outlives this program, which must end at once.
    void apply() const;
    /// Ends a fetch. What has arrived is not fetched again.
    void stop() { m_program.terminate(); }

signals:
    /// A fetch has ended. \a ready is the version that can be put in place, or empty: then \a
    /// message says why.
    void fetched(const QString &ready, const QString &message);

private:
    void read();
    void giveUp(QProcess::ProcessError error);

    QProcess m_program;
};
