// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDir>
#include <QString>

/// What start-up finds out for the rest of the session.
struct SessionState {
    QDir applicationDir;     ///< the folder of the updater's executable
    QDir homeDir;            ///< the updater's data directory
    QDir installationRoot;   ///< applicationDir, or its parent when that is called "bin"
    QString updateDir;       ///< absolute path of "update" in homeDir
    QString exeName;         ///< the host executable; empty if none is to be started
    QString baseUrl;         ///< without a trailing slash
    QString descriptionName; ///< the update description's name below baseUrl
    int hostVersion = 0;
    QString hostVersionText;
    QString command; ///< first command-line argument or empty

    /// Returns whether the command is \a word, in any letter case. Callable on any thread.
    bool isCommand(QLatin1String word) const;
};

/// Reads the configuration and the host's version, creates the update directory if it is missing
/// and turns on the system's proxy settings.
///
/// \a command  the first command-line argument or empty.
///
/// Needs the application object. Never fails: anything missing gets its default. Call on the main
/// thread.
SessionState StartUp(const QString &baseUrl, const QString &descriptionName,
                     const QString &command);
