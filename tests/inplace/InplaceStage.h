// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/inplace/InplaceProgram.h"
#include "tests/inplace/Samples.h"

#include <memory>

/// A folder with an installation of an older release in it, a staging folder, and a server that
/// publishes a newer one.
class InplaceStage {
public:
    /// \a name   of the installation's folder.
    /// \a place  where the folders are made: in memory if possible, where syncs cost nothing.
    explicit InplaceStage(const QString &name = QStringLiteral("Sample.app"),
                          const QString &place = OtherVolume());

    /// The old and the new release of a plain folder with every kind of entry.
    static TestRelease oldRelease();
    static TestRelease newRelease();

    /// Creates the installation, with the release's manifest where the installed one belongs.
    void lay(const TestRelease &release);
    void publish(const TestRelease &release);
    void serve(const ScriptedServer::Handler &handler);
    /// Ends the server: connections are refused from now on.
    void stopServing();
    QString url() const { return m_url; }
    /// The paths asked for so far.
    QStringList requested() const;

    /// The arguments of a run in the console.
    QStringList arguments(const QStringList &more = QStringList()) const;
    /// Runs the program in the console. Returns the code in its report.
    QString run(const QStringList &more = QStringList());
    /// The last run.
    const InplaceProgram &program() const { return *m_program; }

    Tree installed() const { return ReadNodes(install); }
    /// How the installation differs from a release, apart from the installed manifest and from the
    /// user's own entries \a users.
    QString differences(const TestRelease &release, const Tree &users = Tree()) const;
    /// The names beside the installation.
    QStringList leftovers() const;

    QTemporaryDir temporary;
    QString parent;  ///< around the installation
    QString install; ///< the installation
    QString staging;

private:
    std::unique_ptr<ScriptedServer> m_server;
    QString m_url;
    std::unique_ptr<InplaceProgram> m_program;
};
