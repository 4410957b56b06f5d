// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/TestFiles.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

/// A host application's bundle with the updater in it, in a temporary folder, with everything that
/// a session touches: a home, a host program and a browser that record how they were started, and
/// the log.
class HostBundle {
public:
    /// Installs a copy of \a updater as "updater" in \a folder, with version 3.0.0 and the host
    /// program "Host.exe".
    explicit HostBundle(const QString &updater,
                        const QString &folder = QStringLiteral("X.app/Contents/MacOS"));

    /// The updater's folder.
    QString macOsDir() const;
    QString updaterPath() const;
    QString home() const;
    /// The data directory that a session uses if nothing prevents it.
    QString dataDir() const;
    QString path(const QString &relative) const;

    void setVersion(const QString &version) const;
    void writeInfoPlist(const QByteArray &content) const;
    void writeConfig(const QByteArray &content) const;
    /// Makes an executable in the bundle that records its arguments for hostArguments().
    void addHost(const QString &name) const;

    /// Starts a session in \a environment; the caller waits for its end. \a wrapper is a program
    /// with arguments that starts the updater, where there is one.
    std::unique_ptr<QProcess> start(const QStringList &arguments,
                                    const QProcessEnvironment &environment,
                                    const QStringList &wrapper = {}) const;
    /// Prepares \a session as start() would; the caller starts updaterPath() with it.
    void prepare(QProcess &session, const QProcessEnvironment &environment) const;
    /// The environment of a session without windows; Desktop::shownIn() adds them.
    QProcessEnvironment environment() const;

    /// How the host was started, a line per start: its name and each argument in brackets.
    QStringList hostStarts() const;
    /// The working directories that the host was started with.
    QStringList hostFolders() const;
    /// The line that hostStarts() gives for the one proper way to start \a name.
    QString properHostStart(const QString &name) const;
    /// The addresses that the browser was opened with.
    QStringList browserAddresses() const;
    /// The messages of the log, each with its letter in front: "I message". A malformed log line is
    /// returned whole, with "?" in front.
    QStringList log() const;
    /// Forgets host starts, browser addresses and log.
    void forget() const;

private:
    void writeRecorder(const QString &path, const QString &record) const;
    QStringList recorded(const QString &record) const;

    QTemporaryDir m_root;
    QString m_folder;
};
